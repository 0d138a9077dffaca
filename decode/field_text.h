// The text of one received field, as the decoders report it and the
// pretty-printer shows it. A primitive is read through a view, because a
// pointer field means different things in a queue record (the block's
// offset from the primitive's first byte) and in a primitive with attached
// blocks (the block's number).
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "transport/attached_primitive.h"
#include "transport/primitive_table.h"

namespace kestrel {

class PrimitiveView {
public:
    // A queue record: record_size covers the primitive and the blocks
    // copied behind it.
    static PrimitiveView record(const uint8_t* primitive, uint32_t record_size);
    static PrimitiveView attached(const AttachedPrimitive& primitive);

    // A little-endian value; 0 when it lies outside the primitive.
    uint32_t scalar(FieldWidth width, uint32_t offset) const;
    // The bytes the pointer field at offset leads to, up to the end of what
    // the view holds; empty for a null or stray pointer.
    std::span<const uint8_t> block(uint32_t pointer_offset) const;

private:
    PrimitiveView(const uint8_t* bytes, uint32_t size, const AttachedPrimitive* attached)
        : bytes_(bytes), size_(size), attached_(attached) {}

    const uint8_t* bytes_;
    uint32_t size_;
    const AttachedPrimitive* attached_;
};

// "0x%lx", lower case, no padding.
std::string hex_text(uint32_t value);

// The field as one list element, by its format. Formats of the sending side
// are shown by their width: a value, the elements of an inline array, or the
// bytes of each block.
std::string field_text(const FieldDef& field, const PrimitiveView& view);

// The bytes of a block field (data_block and its payload variants): its
// count bounded by what arrived.
std::span<const uint8_t> block_field_bytes(const FieldDef& field, const PrimitiveView& view);

}  // namespace kestrel
