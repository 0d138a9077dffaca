#include "shell/builtin_commands.h"

#include <iterator>

#include "encode/primitive_commands.h"
#include "encode/pt_send.h"
#include "shell/console_keys.h"
#include "shell/manual.h"
#include "shell/mouse_report.h"
#include "shell/pt_option.h"
#include "sim/sim_command.h"
#include "transfer/payload_commands.h"
#include "transfer/throughput_commands.h"
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
    {"PT_btrfcomm", pt_btrfcomm_command,
     "mux_id server_chan tx_payload_length tx_credits rx_credits rx_reissue_threshold rx_reissue_credits "
     "tx_primitive_count rx_primitive_count [async]",
     "status transfer_time_in_secs tx_count rx_count tx_bytes_per_sec rx_bytes_per_sec tx_credits rx_credits",
     "Internal command. Transfers and receives a specified number of RFCOMM\npayloads.", "None"},
    {"PT_ttrfcomm", pt_ttrfcomm_command,
     "mux_id server_chan tx_payload_length tx_credits rx_credits rx_reissue_threshold rx_reissue_credits "
     "tx_enabled rx_enabled timeperiod [async]",
     "status transfer_time_in_secs tx_count rx_count tx_bytes_per_sec rx_bytes_per_sec tx_credits rx_credits",
     "Internal command. Transfers and receives RFCOMM payloads over a\n"
     "specified length of time. The timeperiod is in seconds.\n"
     "Setting tx_enabled to a non zero value will cause the device to\n"
     "issue data, setting rx_enabled to a non zero value will cause the\n"
     "device to expect incoming data",
     "None"},
    {"PT_cancel", pt_cancel_command, "[cid] [mux_id server_chan]", "None",
     "Internal command. Cancel asynchronous transfer(s) taking place.\n"
     "Passing no parameters will cause ALL l2cap/rfcomm transfers to stop\n"
     "Passing one parameter assumes an l2cap async transfer cancel\n"
     " - the parameter required is a cid in this case.\n"
     "Passing two parameters assumes an rfcomm async transfer cancel\n"
     " - the parameters required is mux_id and server_chan in this case.\n",
     "None"},
    {"PT_btl2cap", pt_btl2cap_command, "cid tx_payload_length tx_primitive_count rx_primitive_count [async]",
     "status transfer_time_in_secs tx_count rx_count tx_bytes_per_sec rx_bytes_per_sec",
     "Internal command. Transfers and receives a specified number of L2CAP\npayloads.", "None"},
    {"PT_ttl2cap", pt_ttl2cap_command, "cid tx_payload_length tx_enabled rx_enabled timeperiod [async]",
     "status transfer_time_in_secs tx_count rx_count tx_bytes_per_sec rx_bytes_per_sec",
     "Internal command. Transfers and receives L2CAP payloads over a\n"
     "specified length of time. The timeperiod is in seconds. Setting\n"
     "tx_enabled to a non zero value will cause the device to issue data,\n"
     "setting rx_enabled to a non zero value will cause the device to\n"
     "expect incoming data",
     "None"},
    {"PT_flush", pt_flush_command, "None", "None",
     "Internal command. Flushes Kestrel of all incoming primitives received.", "None"},
    {"OS_send_mouse_report", os_send_mouse_report_command, "button_byte delta_x delta_y delta_wheel", "None",
     "Internal command. Sends mouse input report to OS.", "None"},
    {"OS_kbhit", os_kbhit_command, "None", "None",
     "Internal command. Checks if a key is pressed and flush it from the\n"
     "buffer. Returns 1 if a key has been pressed, else 0.",
     "None"},
    {"TCI_connect", tci_connect_command, "device [baudrate]", "None",
     "Internal command. Connects Kestrel to a TCI device using H4 protocl.", "None"},
    {"TCI_disconnect", tci_disconnect_command, "None", "None",
     "Internal command. Disconnects Kestrel from a connected TCI device.", "None"},
    {"TCI_sendacl", tci_sendacl_command, "handle length data", "None",
     "Internal command. Sends a ACL packet to a connected TCI device.", "None"},
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
