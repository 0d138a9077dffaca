// The byte sequences of the payload modes, without Tcl, locks or console:
// the payload generator fills its blocks here, and so does the simulated
// remote peer, so both ends make the same bytes for a mode and counter.
#pragma once

#include <cstdint>
#include <span>

namespace kestrel {

enum class PayloadMode : uint32_t {
    random = 1,
    seq8 = 2,
    seq16 = 3,
    tcl = 4,
};

// Fills `block` with the payload of `mode` that `counter` stands at and
// advances the counter past it. Modes other than random, seq8 and seq16
// leave the block and the counter as they are.
void fill_payload(std::span<uint8_t> block, uint32_t mode, uint32_t& counter);

}  // namespace kestrel
