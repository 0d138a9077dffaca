#include "transfer/payload_generator.h"

#include <bit>

#include "shell/output.h"

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

std::optional<std::string_view> PayloadGenerator::mode_word() const {
    switch (static_cast<PayloadMode>(mode_)) {
    case PayloadMode::random: return "random";
    case PayloadMode::seq8: return "seq8";
    case PayloadMode::seq16: return "seq16";
    default: return std::nullopt;
    }
}

// The sequences both ends can predict. Mode tcl is not generated here yet;
// it fails, as does any unknown mode.
std::optional<std::vector<uint8_t>> PayloadGenerator::generate(uint32_t length, uint32_t mode, uint32_t* counter,
                                                               uint32_t flags) {
    if (length == 0) return std::nullopt;
    uint32_t& state = (flags & kPayloadUseCounter) && counter ? *counter
                      : (flags & kPayloadReceive)              ? receive_counter_
                                                               : transmit_counter_;
    const uint32_t chosen = (flags & kPayloadUseMode) ? mode : mode_;
    std::vector<uint8_t> payload(length);
    switch (static_cast<PayloadMode>(chosen)) {
    case PayloadMode::random:
        for (uint8_t& byte : payload) {
            state = state * 9719u + 43u;
            byte = static_cast<uint8_t>(state >> 15);
        }
        return payload;
    case PayloadMode::seq8:
        for (uint8_t& byte : payload) byte = static_cast<uint8_t>(state);
        ++state;
        return payload;
    case PayloadMode::seq16:
        for (uint32_t i = 0; i + 1 < length; i += 2) {
            payload[i] = static_cast<uint8_t>(state);
            payload[i + 1] = static_cast<uint8_t>(state >> 8);
        }
        ++state;
        return payload;
    default: return std::nullopt;
    }
}

PayloadCheck PayloadGenerator::check(const uint8_t* data, uint32_t length, uint32_t mode, uint32_t* counter,
                                     uint32_t flags) {
    PayloadCheck result{true, 0, 0, 0, {}};
    if (length == 0) return result;
    if (!data) {
        output_write("ERROR, payload is a NULL pointer whilst length is non zero\n");
        result.pass = false;
        return result;
    }
    if (!enabled_) return result;
    auto expected = generate(length, mode, counter, flags | kPayloadReceive);
    if (!expected) {
        output_printf("Internal error, failed to allocated %d bytes for payload\n", static_cast<int>(length));
        result.pass = false;
        return result;
    }
    for (uint32_t i = 0; i < length; ++i) {
        if (data[i] == (*expected)[i]) continue;
        if (result.bad_bytes++ == 0) result.first_bad = i;
        result.bad_bits += static_cast<uint32_t>(std::popcount(static_cast<unsigned>(data[i] ^ (*expected)[i])));
    }
    if (result.bad_bytes == 0) return result;
    result.pass = false;
    result.expected = std::move(*expected);
    return result;
}

}  // namespace kestrel
