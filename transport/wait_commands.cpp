#include "transport/wait_commands.h"

#include <signal.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <string>
#include <vector>

#include "decode/raw_channel_decoders.h"
#include "decode/received_decoder.h"
#include "decode/received_primitives.h"
#include "encode/number_conversion.h"
#include "shell/session_context.h"
#include "shell/trace_printer.h"
#include "transport/channel.h"
#include "transport/connection_state.h"

namespace kestrel {
namespace {

constexpr const char* kUnexpected = "ERROR - Unexpected primitive received\n";

// What a wait asks for: channels, and for some of them types.
struct WaitSpec {
    uint32_t channel_mask = 0;
    std::vector<int32_t> types[32];
};

bool has_type_list(uint32_t channel) {
    return channel == kChannelTci || (channel >= kChannelDm && channel <= kChannelSdp) || channel == kChannelVm;
}

bool valid_channel(int32_t channel) {
    return channel >= 2 && channel <= 20 && !(channel >= 8 && channel <= 12) && !(channel >= 14 && channel <= 19);
}

// A channel or type element: a number, or $ and a variable of the scope
// the command runs in.
bool resolve(Tcl_Interp* interp, const char* element, int32_t* value) {
    if (element[0] != '$') {
        *value = parse_number(element);
        return true;
    }
    const char* text = Tcl_GetVar(interp, element + 1, 0);
    if (!text) return false;
    *value = parse_number(text);
    return true;
}

int parse(SessionContext& session, Tcl_Interp* interp, int argc, const char* argv[], WaitSpec& wanted) {
    for (int i = 1; i < argc; ++i) {
        int count = 0;
        const char** elements = nullptr;
        if (Tcl_SplitList(interp, argv[i], &count, &elements) != TCL_OK) return TCL_ERROR;
        struct Free {
            const char** p;
            ~Free() { Tcl_Free(reinterpret_cast<char*>(p)); }
        } release{elements};
        if (count == 0) {
            session.append_message("ERROR, NULL channel detected\n");
            return TCL_ERROR;
        }
        int32_t channel = 0;
        if (!resolve(interp, elements[0], &channel)) {
            session.append_message("ERROR, unknown channel given (%s), possible bad scope\n", elements[0] + 1);
            return TCL_ERROR;
        }
        if (!valid_channel(channel)) {
            session.append_message("ERROR - Unexpected primitive received for different channel\n");
            return TCL_ERROR;
        }
        wanted.channel_mask |= 1u << channel;
        if (!has_type_list(static_cast<uint32_t>(channel))) continue;
        for (int e = 1; e < count; ++e) {
            int32_t type = 0;
            if (!resolve(interp, elements[e], &type)) {
                session.append_message("ERROR, unknown primitive type given (%s), possible bad scope\n",
                                       elements[e] + 1);
                return TCL_ERROR;
            }
            wanted.types[channel].push_back(type);
        }
    }
    return TCL_OK;
}

bool listed(const std::vector<int32_t>& types, int32_t type) {
    return std::find(types.begin(), types.end(), type) != types.end();
}

struct FamilyTexts {
    const char* unexpected;
    const char* unrecognised;
};

FamilyTexts family_texts(uint32_t channel) {
    switch (channel) {
    case kChannelDm: return {"ERROR - Unexpected DM primitive received\n", "Error, unrecognised DM primitive\n"};
    case kChannelL2cap: return {"ERROR - Unexpected L2CA primitive received\n", "Error, unrecognised L2CA primitive\n"};
    case kChannelRfcomm:
        return {"ERROR - Unexpected RFCOMM primitive received\n", "Error, unrecognised RFCOMM primitive\n"};
    default: return {"ERROR - Unexpected SDC primitive received\n", "Error, unrecognised SDC primitive\n"};
    }
}

std::atomic<bool> g_waiting{false};

// While a script waits, the keyboard interrupt ends the wait instead of the
// session; at any other time it ends the session as usual.
void on_interrupt(int signal_number) {
    if (g_waiting.load()) {
        g_wait_interrupted.store(true);
        return;
    }
    std::signal(signal_number, SIG_DFL);
    std::raise(signal_number);
}

int wait(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[], bool until) {
    auto& session = *static_cast<SessionContext*>(client_data);
    if (!check_chip_or_tci_connected(interp)) return TCL_ERROR;
    WaitSpec wanted;
    if (parse(session, interp, argc, argv, wanted) != TCL_OK) return TCL_ERROR;

    PrimitiveRing* ring = session.receive_queue();
    if (!ring) {
        session.append_message("Error, the raw transport carries no primitives\n");
        return TCL_ERROR;
    }
    WaitScope waiting;
    for (;;) {
        uint32_t channel = 0, size = 0;
        const uint8_t* record = ring->take(session.wait_timeout_switch == 1, &channel, &size);
        if (!record) {
            if (waiting.interrupted()) {
                session.append_message("Error, wait interrupted\n");
                return TCL_ERROR;
            }
            if (session.wait_timeout_switch == 1) return TCL_OK;
            if (!until || ring->abandoned()) {
                session.append_message("%s", kUnexpected);
                return TCL_ERROR;
            }
            continue;
        }
        const uint32_t c = channel & 0x7FFFFFFF;
        if (!(wanted.channel_mask & (1u << (channel & 31)))) {
            if (until) continue;
            session.append_message("%s", kUnexpected);
            return TCL_ERROR;
        }
        if (c == kChannelVm) {
            const auto& types = wanted.types[kChannelVm];
            if (types.empty() || (size >= 4 && listed(types, get_le16(record + 2))))
                return decode_vm_wait(session, interp, record, size);
            continue;
        }
        if (c == kChannelPtcmd) return decode_ptcmd_wait(session, interp, record, size);
        if (c == kChannelAcl) return decode_acl_wait(session, interp, record, size);
        if (c == kChannelTci) {
            const int32_t type = (channel & 0x80000000u) ? get_le16(record) : record[0];
            const auto& types = wanted.types[kChannelTci];
            if (!types.empty() && !listed(types, type)) continue;
            trace_printf(kTraceError, "Error, unrecognised TCI primitive\n");
            session.append_message("ERROR - Unexpected TCI primitive received\n");
            return TCL_ERROR;
        }
        const uint16_t type = size >= 2 ? get_le16(record) : 0;
        const FamilyTexts texts = family_texts(c);
        if (!wanted.types[c].empty() && !listed(wanted.types[c], type)) {
            if (until) continue;
            session.append_message("%s", texts.unexpected);
            return TCL_ERROR;
        }
        const PrimitiveDef* row = find_received_primitive(c, type);
        if (!row) {
            trace_printf(kTraceError, "%s", texts.unrecognised);
            session.append_message("%s", texts.unexpected);
            return TCL_ERROR;
        }
        return decode_received_primitive(session, interp, *row, c, record, size, true);
    }
}

}  // namespace

WaitScope::WaitScope() {
    g_wait_interrupted = false;
    g_waiting = true;
}

WaitScope::~WaitScope() { g_waiting = false; }

bool WaitScope::interrupted() { return g_wait_interrupted.exchange(false); }

void install_wait_interrupt() {
    struct sigaction action {};
    action.sa_handler = on_interrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
}

int pt_wait_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    return wait(client_data, interp, argc, argv, false);
}

int pt_wait_until_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    return wait(client_data, interp, argc, argv, true);
}

int pt_flush_command(ClientData client_data, Tcl_Interp* interp, int, const char*[]) {
    auto& session = *static_cast<SessionContext*>(client_data);
    if (!check_chip_connected(interp)) return TCL_ERROR;
    if (PrimitiveRing* ring = session.receive_queue()) ring->reset();
    return TCL_OK;
}

}  // namespace kestrel
