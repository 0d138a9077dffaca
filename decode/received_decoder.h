// The decoder of received stack primitives: every field becomes a result
// element, a numbered global argN and a global named after the field.
#pragma once

#include <tcl.h>

#include <cstdint>

#include "transport/primitive_table.h"

namespace kestrel {

// A wait decoder's result starts with the channel and the type; a receive
// command's holds the fields only. Returns the Tcl code.
int decode_received_primitive(Tcl_Interp* interp, const PrimitiveDef& row, uint32_t channel,
                              const uint8_t* primitive, uint32_t size, bool for_wait);

}  // namespace kestrel
