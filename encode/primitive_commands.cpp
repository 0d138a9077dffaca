#include "encode/primitive_commands.h"

#include "encode/number_conversion.h"
#include "encode/primitive_builder.h"
#include "encode/sent_primitives.h"
#include "encode/tci_sent_primitives.h"
#include "decode/tci_received_primitives.h"
#include "shell/manual.h"
#include "shell/session_context.h"
#include "shell/trace_printer.h"
#include "transport/channel.h"

namespace kestrel {
namespace {

int primitive_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    const auto& binding = *static_cast<const CommandBinding*>(client_data);
    return build_and_send(*binding.session, interp, *binding.row, argc - 1, argv + 1, BuilderEntry::command);
}

// Channel 7 serves the SDP client and server alike; its line names SDC.
const char* unrecognised_line(uint32_t channel) {
    switch (channel) {
    case kChannelDm: return "Error, unrecognised DM primitive\n";
    case kChannelL2cap: return "Error, unrecognised L2CA primitive\n";
    case kChannelRfcomm: return "Error, unrecognised RFC primitive\n";
    default: return "Error, unrecognised SDC primitive\n";
    }
}

}  // namespace

void register_primitive_commands(Tcl_Interp* interp, SessionContext& session) {
    for (std::span<const PrimitiveDef> table : {sent_primitives(), tci_sent_primitives()})
    for (const PrimitiveDef& row : table) {
        const CommandBinding& binding = session.command_bindings.emplace_back(CommandBinding{&session, &row});
        const std::string name(row.name);
        Tcl_CreateCommand(interp, name.c_str(), primitive_command,
                          const_cast<CommandBinding*>(&binding), nullptr);
    }
}

void add_sent_primitive_manual(Tcl_Interp* interp) {
    add_primitive_manual_rows(interp, sent_primitives(), PrimitiveRole::issued);
    add_primitive_manual_rows(interp, tci_sent_commands(), PrimitiveRole::issued);
}

void add_tci_received_manual(Tcl_Interp* interp) {
    add_primitive_manual_rows(interp, tci_received_events(), PrimitiveRole::receivable);
}

int tci_sendacl_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    return build_and_send(*static_cast<SessionContext*>(client_data), interp, tci_acl_record(), argc - 1, argv + 1,
                          BuilderEntry::command);
}

int send_stack_primitive(SessionContext& session, Tcl_Interp* interp, uint32_t channel, int argc,
                         const char* argv[]) {
    // argv[0] is PT_send and argv[1] the channel; the type follows.
    const uint16_t type = static_cast<uint16_t>(argc > 2 ? parse_number(argv[2]) : 0);
    const PrimitiveDef* row = argc > 2 ? find_sent_primitive(channel, type) : nullptr;
    if (!row) {
        trace_printf(kTraceError, "%s", unrecognised_line(channel));
        return TCL_ERROR;
    }
    return build_and_send(session, interp, *row, argc - 3, argv + 3, BuilderEntry::pt_send);
}

}  // namespace kestrel
