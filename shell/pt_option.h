// PT_option: the runtime options of a session.
#pragma once

#include <tcl.h>

namespace kestrel {

extern const char kPtOptionHelp[];

int pt_option_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);

}  // namespace kestrel
