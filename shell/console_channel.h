// Tcl's standard output, rerouted through the output routine so that puts
// reaches the log file and obeys the mute word like everything else.
#pragma once

namespace kestrel {

// Installs the channel as the thread's standard output; idempotent. Call
// after Tcl_FindExecutable and before the interpreter is created.
void install_console_channel();

}  // namespace kestrel
