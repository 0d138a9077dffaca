// The shape of the primitive tables: every primitive is a row of data (name,
// type, channel, size, fields) from which commands, manual rows, decoders,
// traces and the simulated chip are all derived.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace kestrel {

enum class FieldWidth : uint8_t { u8, u16, u32, ptr };

struct FieldDef {
    std::string_view name;  // as scripts name it: "bd_addr.lap"
    uint16_t offset;
    FieldWidth width;
    uint8_t count = 1;  // elements of an inline array (ptr[8], u8[16], ...)
};

struct PrimitiveDef {
    std::string_view name;
    uint16_t type;
    uint32_t channel;
    uint16_t size;
    std::span<const FieldDef> fields;
};

// The offsets of a primitive's pointer fields, in layout order; an array of
// n pointers counts as n fields. These fields travel as blocks on the wire.
std::vector<uint16_t> pointer_offsets(const PrimitiveDef& primitive);

// Which side of the link a table describes.
enum class PrimitiveRole : uint8_t {
    issued,      // commands that build and send the primitive
    receivable,  // primitives the wait and receive commands decode
};

}  // namespace kestrel
