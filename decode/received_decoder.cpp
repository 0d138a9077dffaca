#include "decode/received_decoder.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "decode/byte_block_text.h"
#include "transport/wire_bytes.h"

namespace kestrel {
namespace {

std::string hex(uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%lx", static_cast<unsigned long>(value));
    return text;
}

uint32_t scalar(const FieldDef& field, const uint8_t* primitive, uint32_t size) {
    switch (field.width) {
    case FieldWidth::u8: return field.offset < size ? primitive[field.offset] : 0;
    case FieldWidth::u16: return field.offset + 2u <= size ? get_le16(primitive + field.offset) : 0;
    default: return field.offset + 4u <= size ? get_le32(primitive + field.offset) : 0;
    }
}

// The bytes or words behind a flattened packet's fixed part: as many as its
// count says, bounded by what arrived.
std::string flat_text(const FieldDef& field, const uint8_t* primitive, uint32_t size) {
    const uint32_t count = field.length_offset + 2u <= size ? get_le16(primitive + field.length_offset) : 0;
    const uint32_t available = size > field.offset ? size - field.offset : 0;
    if (field.format == FieldFormat::flat_bytes)
        return byte_block_text({primitive + field.offset, std::min(count, available)});
    std::string text;
    for (uint32_t i = 0; i < count && 2 * i + 2 <= available; ++i)
        text += hex(get_le16(primitive + field.offset + 2 * i)) + ' ';
    return text;
}

std::string field_text(const FieldDef& field, const uint8_t* primitive, uint32_t size) {
    if (field.format == FieldFormat::flat_bytes || field.format == FieldFormat::flat_words)
        return flat_text(field, primitive, size);
    return hex(scalar(field, primitive, size));
}

}  // namespace

int decode_received_primitive(Tcl_Interp* interp, const PrimitiveDef& row, uint32_t channel,
                              const uint8_t* primitive, uint32_t size, bool for_wait) {
    if (for_wait) {
        Tcl_AppendElement(interp, hex(channel).c_str());
        Tcl_AppendElement(interp, hex(row.type).c_str());
    }
    int number = 0;
    for (const FieldDef& field : row.fields) {
        const std::string text = field_text(field, primitive, size);
        const std::string arg = "arg" + std::to_string(++number);
        const std::string name(field.name);
        Tcl_AppendElement(interp, text.c_str());
        Tcl_SetVar(interp, arg.c_str(), text.c_str(), TCL_GLOBAL_ONLY);
        Tcl_SetVar(interp, name.c_str(), text.c_str(), TCL_GLOBAL_ONLY);
    }
    return TCL_OK;
}

}  // namespace kestrel
