#include "shell/pt_option.h"

#include <strings.h>

#include "encode/number_conversion.h"
#include "shell/debug_switches.h"
#include "transfer/rfcomm_flow_control.h"
#include "shell/session_context.h"
#include "transport/connection_state.h"
#include "transport/wait_commands.h"

namespace kestrel {

const char kPtOptionHelp[] =
    "Internal command. Change Kestrel internal runtime functionality.\n"
    "rfc_buffer_size N\n"
    "rfc_maxprimcount N\n"
    "[+/-]rfc_flow_control\n"
    "[+/-]primdebug [in/out/all] [sdp/dm/l2cap/rfc/vm/ptcmd/data/raw]\n"
    "[+/-]agpmode [random/seq8/seq16/tcl tclproc]\n"
    "[+/-]show_stack_on_error\n"
    "[+/-]timeout N\n"
    "\n"
    "rfc_buffer_size indicates the size of the onchip RFCOMM buffer to use.\n"
    "This effects how many RFCOMM primitives can be issued to the chip before\n"
    "a flow control token is required.\n"
    "rfc_maxprimcount indicates the max number of RFCOMM primitives which can be\n"
    "issued to the chip before a flow control token is required.\n"
    "rfc_flow_control defines if the RFCOMM flow control mechanism is to be\n"
    "enabled. This forces Kestrel to only issue primitives which fit int the\n"
    "rfc_buffer_size and rfc_maxprimcount before stalling to wait for flow control\n"
    "credits.\n"
    "primdebug can be used to enable debug output for particular primitive channels\n"
    "and on particular directions. in=from the chip, out=to the chip\n"
    "all=both directions, sdp/dm etc.. indicates the channel types.\n"
    "the raw option will display raw byte streams of all channels.\n"
    "show_stack_on_error will cause tcl to display the error stack when it\n"
    "encounters an error in a script. This is enabled by default but you\n"
    "may wish to disable it and handle errors yourself in your own script.\n"
    "timeout N indicates if a timeout can occure waiting for primitives.\n"
    "option_name [option_args...]";

namespace {

constexpr const char* kBadParameters = "Error, bad PT_option parameters\n";
// A raw connection has no flow control to read, set or switch.
constexpr const char* kNoFlowControl = "Error, the raw transport has no RFCOMM flow control\n";
constexpr const char* kDrainInterrupted =
    "Error, interrupted while waiting for the chip's RFCOMM credits; flow control stays on\n";

bool is(const char* word, const char* expected) { return strcasecmp(word, expected) == 0; }

int fail(Tcl_Interp* interp, const char* message) {
    Tcl_AppendResult(interp, message, nullptr);
    return TCL_ERROR;
}

// [+/-]primdebug [in/out/all [CATEGORY]]
int primdebug(SessionContext& session, Tcl_Interp* interp, bool on, int argc, const char* argv[]) {
    bool in = true, out = true;
    if (argc > 2) {
        if (is(argv[2], "in"))
            out = false;
        else if (is(argv[2], "out"))
            in = false;
        else if (!is(argv[2], "all"))
            return fail(interp, kBadParameters);
    }
    const bool all = argc <= 3;
    const char* category = all ? "" : argv[3];
    // The device link keeps its own copy of the switches.
    LinkDebugSwitches* link = session.device_link ? &session.device_link->switches() : nullptr;
    if (in) switch_category(session.debug_switches, link, category, TraceDirection::in, on, all);
    if (out) switch_category(session.debug_switches, link, category, TraceDirection::out, on, all);
    return TCL_OK;
}

// [+/-]agpmode [random/seq8/seq16/tcl PROC/block]
int agpmode(SessionContext& session, Tcl_Interp* interp, char sign, int argc, const char* argv[]) {
    PayloadGenerator& generator = session.payload_generator;
    if (sign == '+') {
        session.payload_mode = true;
        generator.enable();
    } else if (sign == '-') {
        session.payload_mode = false;
        generator.disable();
    }
    if (argc == 2) {
        if (sign != 0) return TCL_OK;
        if (auto word = generator.mode_word()) {
            Tcl_AppendElement(interp, std::string(*word).c_str());
            return TCL_OK;
        }
        if (generator.mode() == static_cast<uint32_t>(PayloadMode::tcl)) Tcl_AppendElement(interp, "tcl");
        return fail(interp, kBadParameters);
    }
    const char* word = argv[2];
    if (is(word, "random"))
        generator.set_mode(PayloadMode::random);
    else if (is(word, "seq8"))
        generator.set_mode(PayloadMode::seq8);
    else if (is(word, "seq16"))
        generator.set_mode(PayloadMode::seq16);
    else if (is(word, "tcl") && argc > 3)
        generator.set_tcl_procedure(argv[3]);
    else if (!is(word, "block") && sign == 0)
        return fail(interp, kBadParameters);
    return TCL_OK;
}

// rfc_buffer_size [N] / rfc_maxprimcount [N]
int flow_control_setting(RfcommFlowControl& flow, SessionContext& session, Tcl_Interp* interp, bool buffer_size,
                         int argc, const char* argv[]) {
    if (argc == 2) {
        session.append_message("0x%lx",
                               static_cast<unsigned long>(buffer_size ? flow.buffer_size() : flow.max_primitive_count()));
        return TCL_OK;
    }
    int32_t value = 0;
    if (!parse_whole_number(argv[2], &value)) return fail(interp, "Error, parameter conversion failure(s)\n");
    if (buffer_size)
        flow.set_buffer_size(static_cast<uint32_t>(value));
    else
        flow.set_max_primitive_count(static_cast<uint32_t>(value));
    return TCL_OK;
}

// -rfc_flow_control: drains first. Ctrl-C ends the wait, also the hold
// after a stall report, and the command then fails.
int switch_flow_control_off(RfcommFlowControl& flow, Tcl_Interp* interp) {
    WaitScope waiting;
    if (flow.disable_and_drain([&waiting] { return waiting.interrupted(); }) ==
        RfcommFlowControl::DrainResult::interrupted)
        return fail(interp, kDrainInterrupted);
    return TCL_OK;
}

// [+/-]timeout [N]: whether waits time out, and after how many seconds.
int timeout(SessionContext& session, Tcl_Interp* interp, char sign, int argc, const char* argv[]) {
    if (!check_chip_connected(interp)) return TCL_ERROR;
    if (sign == '+') session.wait_timeout_switch = 1;
    if (sign == '-') session.wait_timeout_switch = 0;
    PrimitiveRing* ring = session.receive_queue();
    if (argc > 2) {
        int32_t seconds = 0;
        if (!parse_whole_number(argv[2], &seconds)) return fail(interp, "Error, parameter conversion failure(s)\n");
        if (ring) ring->set_timeout(static_cast<uint32_t>(seconds));
        return TCL_OK;
    }
    if (sign == 0) session.append_message("%d", ring ? static_cast<int>(ring->timeout_seconds()) : 0);
    return TCL_OK;
}

}  // namespace

int pt_option_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    auto& session = *static_cast<SessionContext*>(client_data);
    if (argc < 2) return fail(interp, kBadParameters);
    const char* word = argv[1];
    const char sign = (word[0] == '+' || word[0] == '-') ? word[0] : 0;
    const char* name = sign ? word + 1 : word;

    if (sign == 0 && (is(name, "rfc_buffer_size") || is(name, "rfc_maxprimcount"))) {
        if (!check_chip_connected(interp)) return TCL_ERROR;
        RfcommFlowControl* flow = session.device_link ? session.device_link->flow_control() : nullptr;
        if (!flow) return fail(interp, kNoFlowControl);
        return flow_control_setting(*flow, session, interp, is(name, "rfc_buffer_size"), argc, argv);
    }
    if (sign && is(name, "show_stack_on_error")) {
        session.show_stack_on_error = sign == '+' ? 1 : 0;
        return TCL_OK;
    }
    if (sign && is(name, "rfc_flow_control")) {
        if (!check_chip_connected(interp)) return TCL_ERROR;
        RfcommFlowControl* flow = session.device_link ? session.device_link->flow_control() : nullptr;
        if (!flow) return fail(interp, kNoFlowControl);
        if (sign == '-') return switch_flow_control_off(*flow, interp);
        flow->enable();
        return TCL_OK;
    }
    if (sign && is(name, "primdebug")) return primdebug(session, interp, sign == '+', argc, argv);
    if (is(name, "agpmode")) return agpmode(session, interp, sign, argc, argv);
    if (is(name, "timeout")) return timeout(session, interp, sign, argc, argv);
    return fail(interp, kBadParameters);
}

}  // namespace kestrel
