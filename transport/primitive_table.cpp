#include "transport/primitive_table.h"

#include <algorithm>

namespace kestrel {

std::vector<uint16_t> pointer_offsets(const PrimitiveDef& primitive) {
    std::vector<uint16_t> offsets;
    for (const FieldDef& field : primitive.fields)
        if (field.width == FieldWidth::ptr)
            for (uint8_t i = 0; i < field.count; ++i) offsets.push_back(static_cast<uint16_t>(field.offset + 4 * i));
    // A field list may name one pointer twice (as a reported field and as a
    // block); it travels once.
    std::sort(offsets.begin(), offsets.end());
    offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
    return offsets;
}

const FieldDef* find_field(const PrimitiveDef& row, std::string_view name) {
    for (const FieldDef& field : row.fields)
        if (field.name == name) return &field;
    return nullptr;
}

}  // namespace kestrel
