// The internal debugger's (-d) field-by-field trace of a stack primitive:
// a header with its name, one "prim->FIELD: %d (0x%lx)" line per value, and
// a closing rule; '=' framing for what arrives, '-' for what is sent.
#pragma once

#include "shell/debug_switches.h"
#include "transport/attached_primitive.h"
#include "transport/primitive_table.h"

namespace kestrel {

// The trace category bit of a stack primitive channel (DM 0x2, L2CAP 0x1,
// RFCOMM 0x4, SDP 0x10).
uint32_t trace_category(uint32_t channel);

// Inline arrays show one line per element (name[i]); pointer fields show
// the reference the primitive holds, one line per pointer.
void trace_primitive_fields(TraceDirection direction, const PrimitiveDef& row, const AttachedPrimitive& primitive);

}  // namespace kestrel
