// What Kestrel makes of a received TCI packet: the wait decoder's result and
// variables, and the field trace as it arrives.
#pragma once

#include <tcl.h>

#include <cstdint>
#include <span>

#include "transport/primitive_table.h"

namespace kestrel {

class SessionContext;

// The wait decoder of channel 3: "0x3", the type the wait matched (op code
// of a command, event code of an event), then the row's fields. A packet
// without a decoder prints the unrecognised line on the error trace and
// appends the unexpected-primitive message: TCL_ERROR.
int decode_tci_wait(SessionContext& session, Tcl_Interp* interp, uint32_t channel, int32_t type,
                    const uint8_t* packet, uint32_t size);

// The incoming trace of a received packet: its name, the envelope (op code
// and length of a command, event code and length of an event), its fields.
void trace_tci_received(const PrimitiveDef& row, bool command, std::span<const uint8_t> packet);

// The incoming trace of ACL data, with a dump of its data when asked for.
void trace_tci_acl(std::span<const uint8_t> packet);

}  // namespace kestrel
