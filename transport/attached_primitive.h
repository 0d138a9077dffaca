// A primitive as built or received: its fixed bytes in the chip's layout and
// the blocks its pointer fields name. A pointer field holds 0 for none, or
// the 1-based number of its block; a host address never enters a primitive.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "transport/wire_bytes.h"

namespace kestrel {

struct AttachedPrimitive {
    std::vector<uint8_t> bytes;
    std::vector<std::vector<uint8_t>> blocks;
    // Where the pointer fields stand, in layout order: each travels as a
    // block on the wire, whether it names one or not.
    std::vector<uint16_t> pointer_offsets;

    uint16_t type() const { return bytes.size() >= 2 ? get_le16(bytes.data()) : 0; }

    // Attaches a block and answers the reference to store in a pointer field.
    uint32_t attach(std::vector<uint8_t> block) {
        blocks.push_back(std::move(block));
        return static_cast<uint32_t>(blocks.size());
    }

    // The block named by the pointer field at offset; empty for a null or
    // unknown reference, or a field outside the primitive.
    std::span<const uint8_t> block_at(uint32_t offset) const {
        if (offset + 4 > bytes.size()) return {};
        uint32_t reference = get_le32(bytes.data() + offset);
        if (reference == 0 || reference > blocks.size()) return {};
        return blocks[reference - 1];
    }
};

}  // namespace kestrel
