// PT_wait and PT_wait_until: a script waits for named primitives; PT_flush
// empties the receive queue.
#pragma once

#include <tcl.h>

namespace kestrel {

int pt_wait_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);
int pt_wait_until_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);
// Lets the keyboard interrupt (Ctrl-C) end a wait that would never end.
void install_wait_interrupt();

int pt_flush_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);

}  // namespace kestrel
