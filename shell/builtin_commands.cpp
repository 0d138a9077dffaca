#include "shell/builtin_commands.h"

#include <iterator>

#include "encode/pt_send.h"
#include "shell/manual.h"
#include "shell/pt_option.h"
#include "sim/sim_command.h"
#include "transfer/payload_commands.h"
#include "transport/connection_commands.h"
#include "transport/wait_commands.h"

namespace kestrel {
namespace {

// In the order of registration; each later layer adds its commands at their
// places here.
const BuiltinCommand kBuiltinCommands[] = {
    {"PT_connect", pt_connect_command, "device [protocol] [baudrate]", "None",
     "Internal command. Connects Kestrel to a Petrel device.", "None"},
    {"PT_disconnect", pt_disconnect_command, "None", "None",
     "Internal command. Disconnects Kestrel from a connected Petrel device.", "None"},
    {"PT_wait", pt_wait_command, "prim_channel [prim_types...]", "prim_channel prim_type [prim_args...]",
     "Internal command. Waits for a specified primitive and generates an\n"
     "error if any other primtive arrives before it. Multiple channels and\n"
     "primitives can be waited for",
     "None"},
    {"PT_wait_until", pt_wait_until_command, "prim_channel [prim_types...]", "prim_channel prim_type [prim_args...]",
     "Internal command. Waits for a specified primitive and discards all\n"
     "other primitives received before it. Multiple channels and primitives\n"
     "can be waited for.",
     "None"},
    {"PT_option", pt_option_command, "[rfc_buffer_size/agpmode]", "None", kPtOptionHelp, nullptr},
    {"PT_send", pt_send_command, "channel [type] [prim_args...]", "None",
     "Internal command. Sends data to the specified channel.", "None"},
    {"PT_generate", pt_generate_command, "payload_length [agpmode] [seed]", "payload...",
     "Internal command. Generate a payload using the current agpmode.", "None"},
    {"PT_validate", pt_validate_command, "payload [agpmode] [seed]",
     "bad_byte_count [first_bad_byte] [expected_payload...]",
     "Internal command. Validate a payload using the current agpmode.", "None"},
    {"PT_flush", pt_flush_command, "None", "None",
     "Internal command. Flushes Kestrel of all incoming primitives received.", "None"},
    {"PT_send_raw", pt_send_raw_command, "data (e.g. 1 2 3 4 5 6)", "None",
     "Internal command. Sends a packet over the raw transport.", "None"},
    // Kestrel's own: the control surface of the simulated chip.
    {"PT_sim", sim_command, kSimCommandArguments, kSimCommandResults, kSimCommandHelp, "None"},
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
