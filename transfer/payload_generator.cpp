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

std::optional<std::string_view> PayloadGenerator::mode_word() const {
    switch (static_cast<PayloadMode>(mode_)) {
    case PayloadMode::random: return "random";
    case PayloadMode::seq8: return "seq8";
    case PayloadMode::seq16: return "seq16";
    default: return std::nullopt;
    }
}

}  // namespace kestrel
