// PT_wait and PT_wait_until: a script waits for named primitives; PT_flush
// empties the receive queue.
#pragma once

#include <tcl.h>

namespace kestrel {

int pt_wait_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);
int pt_wait_until_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);
// Lets the keyboard interrupt (Ctrl-C) end a wait that would never end.
void install_wait_interrupt();

// Held while a command blocks on the receive queue: the keyboard interrupt
// then ends the take instead of the session.
class WaitScope {
public:
    WaitScope();
    ~WaitScope();
    WaitScope(const WaitScope&) = delete;
    WaitScope& operator=(const WaitScope&) = delete;
    // Whether a take came back empty because of the interrupt (answered once).
    bool interrupted();
};

int pt_flush_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);

}  // namespace kestrel
