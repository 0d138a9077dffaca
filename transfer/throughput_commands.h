// The throughput test commands: bulk and timed L2CAP and RFCOMM transfers,
// and their cancellation.
#pragma once

#include <tcl.h>

namespace kestrel {

int pt_btl2cap_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);
int pt_ttl2cap_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);
int pt_btrfcomm_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);
int pt_ttrfcomm_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);
int pt_cancel_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);

}  // namespace kestrel
