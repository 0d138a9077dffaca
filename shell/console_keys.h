// OS_kbhit: polls the keyboard of the controlling terminal, so that a script
// can run until a key is pressed.
#pragma once

#include <tcl.h>

namespace kestrel {

// True when a key was waiting at the controlling terminal; that key is read
// and discarded. Never waits, and never echoes the key. False without a
// controlling terminal, or while the session runs in the background.
bool take_console_key();

int os_kbhit_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);

}  // namespace kestrel
