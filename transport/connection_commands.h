// The commands that make and end the connection to a chip, and the raw port.
#pragma once

#include <tcl.h>

namespace kestrel {

int pt_connect_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);
int pt_disconnect_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);
// TCI_connect [device baudrate] and TCI_disconnect: the TCI link over H4.
int tci_connect_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);
int tci_disconnect_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);
int pt_send_raw_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);

}  // namespace kestrel
