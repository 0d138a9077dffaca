// The commands named after the stack primitives Kestrel sends, and the
// PT_send builders of channels 4 to 7: both served by the one builder.
#pragma once

#include <tcl.h>

#include <cstdint>

namespace kestrel {

class SessionContext;

// Registers one command per sent primitive, in the table's order: the stack
// primitives, then the TCI commands and events.
void register_primitive_commands(Tcl_Interp* interp, SessionContext& session);

// The manual rows of the sent primitives, the stack's then TCI's.
void add_sent_primitive_manual(Tcl_Interp* interp);
// The manual rows of the TCI events that the wait commands decode.
void add_tci_received_manual(Tcl_Interp* interp);

// TCI_sendacl handle length data: the ACL record, built by the one builder.
int tci_sendacl_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);

// PT_send CHANNEL TYPE ARGS...: the builder of the type on a stack channel;
// an unknown type is reported on the error trace.
int send_stack_primitive(SessionContext& session, Tcl_Interp* interp, uint32_t channel, int argc,
                         const char* argv[]);

}  // namespace kestrel
