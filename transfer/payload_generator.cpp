#include "transfer/payload_generator.h"

namespace kestrel {

void PayloadGenerator::enable() {
    enabled_ = true;
    receive_counter_ = 0;
    transmit_counter_ = 0;
}

void PayloadGenerator::set_tcl_procedure(std::string_view procedure) {
    mode_ = static_cast<uint32_t>(PayloadMode::tcl);
    tcl_procedure_ = procedure;
}

// Stand-in until the generator's own change lands: the counting modes only.
std::optional<std::vector<uint8_t>> PayloadGenerator::generate(uint32_t length, uint32_t mode, uint32_t* counter,
                                                               uint32_t flags) {
    if (length == 0) return std::nullopt;
    uint32_t& c = (flags & kPayloadUseCounter) && counter ? *counter
                  : (flags & kPayloadReceive)             ? receive_counter_
                                                          : transmit_counter_;
    const uint32_t m = (flags & kPayloadUseMode) ? mode : mode_;
    std::vector<uint8_t> bytes(length, 0);
    if (m == static_cast<uint32_t>(PayloadMode::random)) {
        for (auto& b : bytes) {
            c = c * 9719 + 43;
            b = static_cast<uint8_t>(c >> 15);
        }
    } else if (m == static_cast<uint32_t>(PayloadMode::seq8)) {
        for (auto& b : bytes) b = static_cast<uint8_t>(c);
        ++c;
    } else if (m == static_cast<uint32_t>(PayloadMode::seq16)) {
        for (uint32_t i = 0; i + 1 < length; i += 2) {
            bytes[i] = static_cast<uint8_t>(c);
            bytes[i + 1] = static_cast<uint8_t>(c >> 8);
        }
        ++c;
    } else {
        return std::nullopt;
    }
    return bytes;
}

std::optional<std::string_view> PayloadGenerator::mode_word() const {
    switch (static_cast<PayloadMode>(mode_)) {
    case PayloadMode::random: return "random";
    case PayloadMode::seq8: return "seq8";
    case PayloadMode::seq16: return "seq16";
    default: return std::nullopt;
    }
}

}  // namespace kestrel
