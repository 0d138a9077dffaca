#include "encode/pt_send.h"

#include <string>
#include <vector>

#include "decode/hex_dump.h"
#include "encode/array_conversion.h"
#include "encode/number_conversion.h"
#include "encode/primitive_commands.h"
#include "shell/session_context.h"
#include "shell/trace_printer.h"
#include "transport/channel.h"
#include "transport/connection_state.h"

namespace kestrel {
namespace {

constexpr uint32_t kFieldMask = 0x04800000;
// A dump carries its own "->" and indents its continuation lines under it, so
// it goes out without the printer's prefix.
constexpr uint32_t kDumpMask = 0x04000000;

// PT_send 2 words...: the PTCMD message is every word given, in order; its
// first word is the array's own element count, as the script writes it.
int send_ptcmd(SessionContext& session, Tcl_Interp* interp, int count, const char* words[]) {
    if (count == 0) {
        session.append_message("Error, bad param count for ptcmd primitive\n");
        return TCL_ERROR;
    }
    trace_printf(0x06000040, "PTCMD");
    std::vector<uint32_t> message;
    for (int i = 0; i < count; ++i) {
        auto part = convert_long_array(interp, words[i]);
        message.insert(message.end(), part.begin(), part.end());
    }
    if (kFieldMask & g_trace_mask.load()) trace_printf(kDumpMask | 0x40, "%s", hex_dump_longs(message, "->").c_str());
    trace_printf(0x05000040, "PTCMD");
    session.device_link->send_ptcmd(message);
    return TCL_OK;
}

// PT_send 13 words...: the VM message, two bytes a word, low byte first.
int send_vm(SessionContext& session, Tcl_Interp* interp, int count, const char* words[]) {
    if (count == 0) {
        session.append_message("Error, bad param count for vm primitive\n");
        return TCL_ERROR;
    }
    trace_printf(0x06000020, "VM_PRIM");
    std::vector<uint8_t> message;
    for (int i = 0; i < count; ++i)
        for (uint16_t word : convert_word_array(interp, words[i])) {
            message.push_back(static_cast<uint8_t>(word));
            message.push_back(static_cast<uint8_t>(word >> 8));
        }
    if (kFieldMask & g_trace_mask.load()) trace_printf(kDumpMask | 0x20, "%s", hex_dump_bytes(message, "->").c_str());
    trace_printf(0x05000020, "VM_PRIM");
    session.device_link->send_vm(std::move(message));
    return TCL_OK;
}

}  // namespace

int pt_send_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    auto& session = *static_cast<SessionContext*>(client_data);
    if (!check_chip_connected(interp)) return TCL_ERROR;
    if (!session.receive_queue()) {
        session.append_message("Error, the raw transport carries no primitives\n");
        return TCL_ERROR;
    }
    const int32_t channel = argc > 1 ? parse_number(argv[1]) : 0;
    switch (channel) {
    case kChannelPtcmd: return send_ptcmd(session, interp, argc - 2, argv + 2);
    case kChannelVm: return send_vm(session, interp, argc - 2, argv + 2);
    case kChannelDm:
    case kChannelL2cap:
    case kChannelRfcomm:
    case kChannelSdp: return send_stack_primitive(session, interp, static_cast<uint32_t>(channel), argc, argv);
    default: session.append_message("ERROR - Unexpected primitive channel given\n"); return TCL_ERROR;
    }
}

}  // namespace kestrel
