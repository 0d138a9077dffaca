// The Tcl command that runs the control surface (control_surface.h) of the
// embedded simulated chip: PT_sim WORD ARGS...
#pragma once

#include <tcl.h>

namespace kestrel {

// The result is the command's text; a failure is TCL_ERROR with the error
// text ("Error, no simulated chip is running\n" when there is no chip).
// "PT_sim help" answers even without a chip. Client data is not used.
int sim_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);

// The manual row's texts.
inline constexpr const char* kSimCommandArguments = "command [args...] (PT_sim help lists them)";
inline constexpr const char* kSimCommandResults = "the command's text";
inline constexpr const char* kSimCommandHelp =
    "Internal command. Controls the simulated Petrel chip that PT_connect sim\n"
    "started: lists what it received, sends messages as the chip, sets the\n"
    "line's rate, latency and faults, resets or halts the chip.";

}  // namespace kestrel
