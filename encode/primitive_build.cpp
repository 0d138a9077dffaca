#include "encode/primitive_build.h"

#include <cstdio>
#include <string>

#include "decode/hex_dump.h"
#include "encode/number_conversion.h"
#include "shell/session_context.h"
#include "shell/trace_printer.h"
#include "transport/wire_bytes.h"

namespace kestrel {
namespace {

// A dump carries its own "->" and indents its continuation lines under it,
// so it goes out without the printer's prefix.
constexpr uint32_t kDumpMask = 0x04000000;

}  // namespace

uint32_t trace_category(PrimitiveFamily family) {
    switch (family) {
    case PrimitiveFamily::l2ca:
    case PrimitiveFamily::bnep:
    case PrimitiveFamily::tcp: return kTraceL2cap;
    case PrimitiveFamily::dm_hci:
    case PrimitiveFamily::dm: return kTraceDm;
    case PrimitiveFamily::rfc: return kTraceRfc;
    case PrimitiveFamily::sds: return 0x008;
    case PrimitiveFamily::sdc: return 0x010;
    case PrimitiveFamily::tci: return kTraceTci;
    case PrimitiveFamily::none: break;
    }
    return 0;
}

PrimitiveBuild::PrimitiveBuild(SessionContext& session_, Tcl_Interp* interp_, const PrimitiveDef& row_)
    : session(session_), interp(interp_), row(row_), category(trace_category(row_.family)) {
    // Zeroed, so that padding and skipped fields travel as zero bytes.
    primitive.bytes.assign(row.size, 0);
    primitive.pointer_offsets = pointer_offsets(row);
}

void PrimitiveBuild::store(uint16_t offset, FieldWidth width, uint32_t value) {
    uint8_t* p = primitive.bytes.data() + offset;
    switch (width) {
    case FieldWidth::u8: *p = static_cast<uint8_t>(value); break;
    case FieldWidth::u16: put_le16(p, static_cast<uint16_t>(value)); break;
    default: put_le32(p, value); break;
    }
}

uint32_t PrimitiveBuild::load(uint16_t offset, FieldWidth width) const {
    const uint8_t* p = primitive.bytes.data() + offset;
    switch (width) {
    case FieldWidth::u8: return *p;
    case FieldWidth::u16: return get_le16(p);
    default: return get_le32(p);
    }
}

void PrimitiveBuild::trace_field(std::string_view label, uint32_t value) const {
    const uint32_t mask = kBuildFieldMask | category;
    if (!trace_enabled(mask)) return;
    char text[160];
    std::snprintf(text, sizeof text, "prim.%.*s: %d (0x%lx)\n", static_cast<int>(label.size()), label.data(),
                  static_cast<int>(value), static_cast<unsigned long>(value));
    trace_text(mask, text);
}

void PrimitiveBuild::dump_bytes(std::string_view name, std::span<const uint8_t> bytes) const {
    if (!trace_enabled(kBuildFieldMask | category)) return;
    trace_text(kDumpMask | category, hex_dump_bytes(bytes, "-> prim->" + std::string(name) + ":"));
}

void PrimitiveBuild::dump_words(std::string_view name, std::span<const uint16_t> words) const {
    if (!trace_enabled(kBuildFieldMask | category)) return;
    trace_text(kDumpMask | category, hex_dump_words(words, "-> prim->" + std::string(name) + ":"));
}

const char* PrimitiveBuild::variable(std::string_view name) const {
    const std::string key(name);
    const char* value = Tcl_GetVar(interp, key.c_str(), 0);
    if (!value) value = Tcl_GetVar(interp, key.c_str(), TCL_GLOBAL_ONLY);
    return value;
}

void PrimitiveBuild::missing(std::string_view name) {
    ++failures;
    session.append_message("Error, could not find %.*s\n", static_cast<int>(name.size()), name.data());
}

uint32_t PrimitiveBuild::sub_field(std::string_view name, const char* element) {
    if (element && element[0] != '\0' && element[0] != '-') return static_cast<uint32_t>(parse_number(element));
    if (const char* value = variable(name)) return static_cast<uint32_t>(parse_number(value));
    missing(name);
    return 0;
}

}  // namespace kestrel
