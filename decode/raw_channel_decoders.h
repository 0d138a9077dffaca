// Wait decoders of the channels that carry words rather than structured
// primitives: PTCMD (32-bit words), VM (16-bit words) and ACL data from a
// TCI device.
#pragma once

#include <tcl.h>

#include <cstdint>

namespace kestrel {

class SessionContext;

// Each appends the channel and the message to the result and sets arg1...
// Returns TCL_OK.
int decode_ptcmd_wait(SessionContext& session, Tcl_Interp* interp, const uint8_t* message, uint32_t size);
int decode_vm_wait(SessionContext& session, Tcl_Interp* interp, const uint8_t* message, uint32_t size);
int decode_acl_wait(SessionContext& session, Tcl_Interp* interp, const uint8_t* message, uint32_t size);

}  // namespace kestrel
