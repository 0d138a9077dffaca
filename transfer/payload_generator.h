// The payload generator: test payloads that both ends can predict, made for
// sending and made again for checking what arrived. PT_option's agpmode words
// set its mode and restart its sequences; PT_generate, PT_validate, the send
// commands' "?" payloads, the receive decoders and the throughput tests use it.
//
// Threads: the receive threads check payloads while the interpreter thread
// generates them and changes the settings, so the state is guarded by a
// mutex. Mode tcl runs a script procedure and so works only on the thread
// that set the interpreter; anywhere else it fails without touching Tcl.
#pragma once

#include <tcl.h>

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "transfer/payload_sequence.h"

namespace kestrel {

// Flags of one generate or check call.
inline constexpr uint32_t kPayloadUseMode = 1;            // the call's mode, not the generator's
inline constexpr uint32_t kPayloadUseCounter = 2;         // the caller's counter, advanced in place
inline constexpr uint32_t kPayloadReceive = 0x80000000u;  // the receive counter, not the transmit one

// A payload longer than this is refused like a block that cannot be
// allocated: a length of -1 would otherwise ask for 4 GiB.
inline constexpr uint32_t kPayloadMaxLength = 1u << 20;

struct PayloadCheck {
    bool pass;
    uint32_t bad_bytes;
    uint32_t bad_bits;   // set bits of the exclusive-or of each bad byte with its expected value
    uint32_t first_bad;  // offset of the first bad byte
    std::vector<uint8_t> expected;  // filled only when the check fails on a difference
};

class PayloadGenerator {
public:
    // +agpmode: enabled, both sequences back at their start.
    void enable();
    // -agpmode: every check passes until enabled again.
    void disable();
    bool enabled() const;

    void set_mode(PayloadMode mode);
    // Mode tcl: payloads come from a script procedure. Interpreter thread only.
    void set_tcl_procedure(std::string_view procedure);
    uint32_t mode() const;
    const std::string& tcl_procedure() const { return tcl_procedure_; }
    // The mode's option word, or nothing for tcl and unknown modes.
    std::optional<std::string_view> mode_word() const;

    uint32_t transmit_counter() const;
    uint32_t receive_counter() const;

    // Records the calling thread as the interpreter's: mode tcl runs there only.
    void set_interpreter(Tcl_Interp* interp);
    Tcl_Interp* interpreter() const { return interp_; }

    // A block of `length` bytes, or nothing for a length of 0 or on failure.
    // A mode outside 1 to 4 gives a block of zeros.
    std::optional<std::vector<uint8_t>> generate(uint32_t length, uint32_t mode = 0, uint32_t* counter = nullptr,
                                                 uint32_t flags = 0);

    // Compares received bytes with the payload expected next (the receive
    // counter, or the caller's). Trouble is printed on the console.
    PayloadCheck check(const uint8_t* data, uint32_t length, uint32_t mode = 0, uint32_t* counter = nullptr,
                       uint32_t flags = 0);

private:
    std::optional<std::vector<uint8_t>> generate_by_procedure(uint32_t length);

    mutable std::mutex mutex_;
    uint32_t receive_counter_ = 0;
    uint32_t transmit_counter_ = 0;
    uint32_t mode_ = static_cast<uint32_t>(PayloadMode::random);
    bool enabled_ = true;
    // Read and written on the interpreter thread only.
    std::string tcl_procedure_;
    Tcl_Interp* interp_ = nullptr;
    std::thread::id interp_thread_;
};

}  // namespace kestrel
