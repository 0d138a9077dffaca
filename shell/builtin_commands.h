// The built-in commands (PT_, OS_ and TCI_), registered from one table that
// holds each command's manual row beside its handler.
#pragma once

#include <tcl.h>

namespace kestrel {

class SessionContext;

struct BuiltinCommand {
    const char* name;
    Tcl_CmdProc* handler;
    const char* arguments;
    const char* results;
    const char* help;
    const char* extra;  // null renders as an empty element
};

// Registers every built-in command, in table order, with the session as
// client data.
void register_builtin_commands(Tcl_Interp* interp, SessionContext& session);

// Stores the manual rows of the built-in commands, in table order.
void add_builtin_manual(Tcl_Interp* interp);

}  // namespace kestrel
