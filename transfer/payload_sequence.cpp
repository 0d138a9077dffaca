#include "transfer/payload_sequence.h"

namespace kestrel {
namespace {

void fill_random(std::span<uint8_t> block, uint32_t& counter) {
    for (uint8_t& byte : block) {
        counter = counter * 9719u + 43u;
        byte = static_cast<uint8_t>(counter >> 15);
    }
}

void fill_seq8(std::span<uint8_t> block, uint32_t& counter) {
    for (uint8_t& byte : block) byte = static_cast<uint8_t>(counter);
    ++counter;
}

// Words low byte first. The last byte of an odd length is the low byte of
// one more word, so a payload of 2n+1 bytes is the start of the one of 2n+2.
void fill_seq16(std::span<uint8_t> block, uint32_t& counter) {
    for (size_t i = 0; i + 1 < block.size(); i += 2) {
        block[i] = static_cast<uint8_t>(counter);
        block[i + 1] = static_cast<uint8_t>(counter >> 8);
    }
    if (block.size() % 2) block.back() = static_cast<uint8_t>(counter);
    ++counter;
}

}  // namespace

void fill_payload(std::span<uint8_t> block, uint32_t mode, uint32_t& counter) {
    switch (static_cast<PayloadMode>(mode)) {
    case PayloadMode::random: fill_random(block, counter); break;
    case PayloadMode::seq8: fill_seq8(block, counter); break;
    case PayloadMode::seq16: fill_seq16(block, counter); break;
    default: break;
    }
}

}  // namespace kestrel
