// The receive commands: one Tcl command per receivable stack primitive,
// named after it, which takes records from the receive queue, discarding
// every one that is not that primitive, and decodes the first that is.
#pragma once

#include <tcl.h>

namespace kestrel {

class SessionContext;

// Registers the 167 commands in the order of the received table, with the
// session as client data.
void register_receive_commands(Tcl_Interp* interp, SessionContext& session);

}  // namespace kestrel
