#include "transfer/payload_generator.h"

#include <bit>
#include <new>

#include "encode/array_conversion.h"
#include "shell/output.h"

namespace kestrel {

void PayloadGenerator::enable() {
    std::lock_guard lock(mutex_);
    enabled_ = true;
    receive_counter_ = 0;
    transmit_counter_ = 0;
}

void PayloadGenerator::disable() {
    std::lock_guard lock(mutex_);
    enabled_ = false;
}

bool PayloadGenerator::enabled() const {
    std::lock_guard lock(mutex_);
    return enabled_;
}

void PayloadGenerator::set_mode(PayloadMode mode) {
    std::lock_guard lock(mutex_);
    mode_ = static_cast<uint32_t>(mode);
}

void PayloadGenerator::set_tcl_procedure(std::string_view procedure) {
    tcl_procedure_ = procedure;
    set_mode(PayloadMode::tcl);
}

uint32_t PayloadGenerator::mode() const {
    std::lock_guard lock(mutex_);
    return mode_;
}

std::optional<std::string_view> PayloadGenerator::mode_word() const {
    switch (static_cast<PayloadMode>(mode())) {
    case PayloadMode::random: return "random";
    case PayloadMode::seq8: return "seq8";
    case PayloadMode::seq16: return "seq16";
    default: return std::nullopt;
    }
}

uint32_t PayloadGenerator::transmit_counter() const {
    std::lock_guard lock(mutex_);
    return transmit_counter_;
}

uint32_t PayloadGenerator::receive_counter() const {
    std::lock_guard lock(mutex_);
    return receive_counter_;
}

void PayloadGenerator::set_interpreter(Tcl_Interp* interp) {
    std::lock_guard lock(mutex_);
    interp_ = interp;
    interp_thread_ = std::this_thread::get_id();
}

std::optional<std::vector<uint8_t>> PayloadGenerator::generate(uint32_t length, uint32_t mode, uint32_t* counter,
                                                               uint32_t flags) {
    if (length == 0 || length > kPayloadMaxLength) return std::nullopt;
    std::unique_lock lock(mutex_);
    if (!(flags & kPayloadUseMode)) mode = mode_;
    if (mode == static_cast<uint32_t>(PayloadMode::tcl)) {
        // Never evaluate Tcl off the interpreter's thread (a receive thread).
        if (!interp_ || std::this_thread::get_id() != interp_thread_) return std::nullopt;
        // The procedure may itself call PT_option or PT_generate.
        lock.unlock();
        return generate_by_procedure(length);
    }
    uint32_t& state = (flags & kPayloadUseCounter) && counter ? *counter
                      : (flags & kPayloadReceive)             ? receive_counter_
                                                              : transmit_counter_;
    std::vector<uint8_t> block;
    try {
        block.resize(length);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
    fill_payload(block, mode, state);  // an unknown mode leaves the block as allocated (zeros)
    return block;
}

// Mode tcl: "PROC true LENGTH" must return exactly LENGTH byte values. The
// values are taken and the result cleared; on failure the result holds the
// message alone (or Tcl's own error, when the procedure raised one).
std::optional<std::vector<uint8_t>> PayloadGenerator::generate_by_procedure(uint32_t length) {
    Tcl_Interp* interp = interp_;
    const std::string procedure = tcl_procedure_;
    const std::string command = procedure + " true " + std::to_string(static_cast<int>(length)) + "\n";
    if (Tcl_Eval(interp, command.c_str()) != TCL_OK) return std::nullopt;
    const std::string values = Tcl_GetStringResult(interp);
    Tcl_ResetResult(interp);
    if (values.empty()) {
        const std::string message = "ERROR - " + procedure + " did not return a value\n";
        Tcl_AppendResult(interp, message.c_str(), nullptr);
        return std::nullopt;
    }
    std::vector<uint8_t> block = convert_byte_array(interp, values.c_str());
    if (block.size() != length) {
        const std::string message = "ERROR - " + procedure + " generated invalid payload size [" +
                                    std::to_string(static_cast<int>(block.size())) + "/" +
                                    std::to_string(static_cast<int>(length)) + "]\n";
        Tcl_AppendResult(interp, message.c_str(), nullptr);
        return std::nullopt;
    }
    return block;
}

PayloadCheck PayloadGenerator::check(const uint8_t* data, uint32_t length, uint32_t mode, uint32_t* counter,
                                     uint32_t flags) {
    PayloadCheck result{true, 0, 0, 0, {}};
    if (!data && length != 0) {
        output_write("ERROR, payload is a NULL pointer whilst length is non zero\n");
        result.pass = false;
        return result;
    }
    if (length == 0 || !enabled()) return result;

    std::optional<std::vector<uint8_t>> expected = generate(length, mode, counter, flags | kPayloadReceive);
    if (!expected) {
        // The wording stands as it is, also when a procedure failed.
        output_printf("Internal error, failed to allocated %d bytes for payload\n", static_cast<int>(length));
        result.pass = false;
        return result;
    }
    for (uint32_t i = 0; i < length; ++i) {
        const uint8_t difference = data[i] ^ (*expected)[i];
        if (difference == 0) continue;
        if (result.bad_bytes++ == 0) result.first_bad = i;
        result.bad_bits += static_cast<uint32_t>(std::popcount(difference));
    }
    if (result.bad_bytes != 0) {
        result.pass = false;
        result.expected = std::move(*expected);
    }
    return result;
}

}  // namespace kestrel
