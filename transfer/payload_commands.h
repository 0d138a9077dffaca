// PT_generate and PT_validate: the payload generator at the script's hand.
#pragma once

#include <tcl.h>

namespace kestrel {

// PT_generate payload_length [agpmode] [seed]
int pt_generate_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);
// PT_validate payload [agpmode] [seed]
int pt_validate_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);

}  // namespace kestrel
