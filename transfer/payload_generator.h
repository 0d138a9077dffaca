// The payload generator's state: which sequence test payloads follow and
// where each direction's sequence stands. PT_option's agpmode words set it.
#pragma once

#include <tcl.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrel {

enum class PayloadMode : uint32_t {
    random = 1,
    seq8 = 2,
    seq16 = 3,
    tcl = 4,
};

// Flags of generate and check.
inline constexpr uint32_t kPayloadUseMode = 1;            // the call's mode, not the generator's
inline constexpr uint32_t kPayloadUseCounter = 2;         // the caller's counter, advanced in place
inline constexpr uint32_t kPayloadReceive = 0x80000000u;  // the receive counter (every check)

// The outcome of a check: on a failure the counts, the first bad offset and
// what was expected.
struct PayloadCheck {
    bool pass;
    uint32_t bad_bytes;
    uint32_t bad_bits;
    uint32_t first_bad;
    std::vector<uint8_t> expected;
};

class PayloadGenerator {
public:
    // A payload of length bytes in the chosen mode; nothing for a length of 0
    // or on failure. The chosen counter advances.
    std::optional<std::vector<uint8_t>> generate(uint32_t length, uint32_t mode = 0, uint32_t* counter = nullptr,
                                                 uint32_t flags = 0);
    // Compares received bytes with the expected sequence (always on the
    // receive side: kPayloadReceive is added to flags).
    PayloadCheck check(const uint8_t* data, uint32_t length, uint32_t mode = 0, uint32_t* counter = nullptr,
                       uint32_t flags = 0);

    // +agpmode: enabled, both sequences back at their start.
    void enable();
    // -agpmode: every check passes until enabled again.
    void disable() { enabled_ = false; }
    bool enabled() const { return enabled_; }

    void set_mode(PayloadMode mode) { mode_ = static_cast<uint32_t>(mode); }
    // Mode tcl: payloads come from a script procedure.
    void set_tcl_procedure(std::string_view procedure);
    uint32_t mode() const { return mode_; }
    const std::string& tcl_procedure() const { return tcl_procedure_; }
    // The mode's option word, or nothing for tcl and unknown modes.
    std::optional<std::string_view> mode_word() const;

    uint32_t transmit_counter() const { return transmit_counter_; }
    uint32_t receive_counter() const { return receive_counter_; }

    void set_interpreter(Tcl_Interp* interp) { interp_ = interp; }
    Tcl_Interp* interpreter() const { return interp_; }

private:
    uint32_t receive_counter_ = 0;
    uint32_t transmit_counter_ = 0;
    uint32_t mode_ = static_cast<uint32_t>(PayloadMode::random);
    bool enabled_ = true;
    std::string tcl_procedure_;
    Tcl_Interp* interp_ = nullptr;
};

}  // namespace kestrel
