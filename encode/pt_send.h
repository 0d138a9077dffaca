// PT_send: any primitive by channel number, and the PTCMD and VM messages,
// which have no command of their own.
#pragma once

#include <tcl.h>

namespace kestrel {

int pt_send_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);

}  // namespace kestrel
