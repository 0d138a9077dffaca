#include "shell/builtin_commands.h"

#include <iterator>

#include "shell/manual.h"
#include "shell/pt_option.h"

namespace kestrel {
namespace {

// In the order of registration; each later layer adds its commands at their
// places here.
const BuiltinCommand kBuiltinCommands[] = {
    {"PT_option", pt_option_command, "[rfc_buffer_size/agpmode]", "None", kPtOptionHelp, nullptr},
};

}  // namespace

void register_builtin_commands(Tcl_Interp* interp, SessionContext& session) {
    for (const BuiltinCommand& command : kBuiltinCommands)
        Tcl_CreateCommand(interp, command.name, command.handler, &session, nullptr);
}

void add_builtin_manual(Tcl_Interp* interp) {
    for (const BuiltinCommand& command : kBuiltinCommands)
        add_manual_row(interp, {command.name, kManualBuiltinFlags, command.help, command.arguments, command.results,
                                command.extra});
}

}  // namespace kestrel
