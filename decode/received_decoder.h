// The decoder of received stack primitives: every field becomes a result
// element, a numbered global argN and a global named after the field; the
// received data of the payload formats is checked when the payload mode is
// on.
#pragma once

#include <tcl.h>

#include <cstdint>

#include "transport/primitive_table.h"

namespace kestrel {

class SessionContext;

// primitive: a queue record's primitive, record_size bytes with its blocks.
// A wait decoder's result starts with the channel and the type; a receive
// command's holds the fields only. Returns TCL_OK, or TCL_ERROR after a
// failed payload check (its report follows the elements).
int decode_received_primitive(SessionContext& session, Tcl_Interp* interp, const PrimitiveDef& row,
                              uint32_t channel, const uint8_t* primitive, uint32_t record_size, bool for_wait);

}  // namespace kestrel
