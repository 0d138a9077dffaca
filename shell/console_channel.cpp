#include "shell/console_channel.h"

#include <tcl.h>

#include <cerrno>

#include "shell/output.h"

namespace kestrel {
namespace {

int console_close(ClientData, Tcl_Interp*) { return 0; }

int console_input(ClientData, char*, int, int* error) {
    *error = EINVAL;
    return -1;
}

int console_output(ClientData, const char* bytes, int length, int* error) {
    output_write({bytes, static_cast<size_t>(length)});
    *error = 0;
    return length;
}

void console_watch(ClientData, int) {}

int console_handle(ClientData, int, ClientData*) { return TCL_ERROR; }

Tcl_ChannelType console_type = {
    const_cast<char*>("kestrel-console"),
    TCL_CHANNEL_VERSION_5,
    console_close,
    console_input,
    console_output,
    nullptr,  // seek
    nullptr,  // set option
    nullptr,  // get option
    console_watch,
    console_handle,
    nullptr,  // close2
    nullptr,  // block mode
    nullptr,  // flush
    nullptr,  // handler
    nullptr,  // wide seek
    nullptr,  // thread action
    nullptr,  // truncate
};

Tcl_Channel g_console = nullptr;

}  // namespace

void install_console_channel() {
    if (g_console && Tcl_GetStdChannel(TCL_STDOUT) == g_console) return;
    if (!g_console) {
        g_console = Tcl_CreateChannel(&console_type, "stdout", nullptr, TCL_WRITABLE);
        // Held by the process, not by an interpreter, so that it survives a
        // restart's Tcl_DeleteInterp; Tcl_Finalize closes it.
        Tcl_RegisterChannel(nullptr, g_console);
        // Lines go out as they are completed; the read-eval loop flushes the
        // rest after every input line.
        Tcl_SetChannelOption(nullptr, g_console, "-buffering", "line");
        Tcl_SetChannelOption(nullptr, g_console, "-translation", "lf");
        Tcl_SetChannelOption(nullptr, g_console, "-encoding", "utf-8");
    }
    Tcl_SetStdChannel(g_console, TCL_STDOUT);
}

}  // namespace kestrel
