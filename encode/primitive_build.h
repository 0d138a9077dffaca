// One stack primitive being built from a command's arguments: its bytes and
// blocks, the conversion failures counted so far, and its traces. The
// builder template and the special field encoders share it.
#pragma once

#include <tcl.h>

#include <cstdint>
#include <span>
#include <string_view>

#include "transport/attached_primitive.h"
#include "transport/primitive_table.h"

namespace kestrel {

class SessionContext;

// The trace category of a family: its bit in every trace mask.
uint32_t trace_category(PrimitiveFamily family);

inline constexpr uint32_t kBuildStartMask = 0x06000000;
inline constexpr uint32_t kBuildFieldMask = 0x04800000;
inline constexpr uint32_t kBuildEndMask = 0x05000000;

struct PrimitiveBuild {
    PrimitiveBuild(SessionContext& session, Tcl_Interp* interp, const PrimitiveDef& row);

    // Stores value truncated to width at offset, as the chip's layout wants.
    void store(uint16_t offset, FieldWidth width, uint32_t value);
    // The value at offset, read with the given width.
    uint32_t load(uint16_t offset, FieldWidth width) const;

    // "prim.LABEL: %d (0x%lx)" under the family's field mask.
    void trace_field(std::string_view label, uint32_t value) const;
    // A hex dump of what an encoder wrote, headed "-> prim->NAME:".
    void dump_bytes(std::string_view name, std::span<const uint8_t> bytes) const;
    void dump_words(std::string_view name, std::span<const uint16_t> words) const;

    // A sub-field's value: its list element when that is present, not empty
    // and not a '-'; otherwise the variable named like the sub-field. A
    // missing variable is reported and counted; the answer is then 0.
    uint32_t sub_field(std::string_view name, const char* element);

    // The variable of that name, local scope first, then global; null when
    // neither holds it.
    const char* variable(std::string_view name) const;

    // Reports the could-not-find line of a field and counts the failure.
    void missing(std::string_view name);

    SessionContext& session;
    Tcl_Interp* interp;
    const PrimitiveDef& row;
    AttachedPrimitive primitive;
    uint32_t category;
    int failures = 0;
};

}  // namespace kestrel
