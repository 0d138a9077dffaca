#include "shell/pt_option.h"

#include <strings.h>

#include "shell/debug_switches.h"
#include "shell/session_context.h"
#include "transport/connection_state.h"

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
    // The device link keeps its own copy of the switches once it exists.
    LinkDebugSwitches* link = nullptr;
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

}  // namespace

int pt_option_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    auto& session = *static_cast<SessionContext*>(client_data);
    if (argc < 2) return fail(interp, kBadParameters);
    const char* word = argv[1];
    const char sign = (word[0] == '+' || word[0] == '-') ? word[0] : 0;
    const char* name = sign ? word + 1 : word;

    if (sign == 0 && (is(name, "rfc_buffer_size") || is(name, "rfc_maxprimcount"))) {
        // Settings of the device link's flow-control queue.
        if (!check_chip_connected(interp)) return TCL_ERROR;
        return fail(interp, kBadParameters);
    }
    if (sign && is(name, "show_stack_on_error")) {
        session.show_stack_on_error = sign == '+' ? 1 : 0;
        return TCL_OK;
    }
    if (sign && is(name, "rfc_flow_control")) {
        if (!check_chip_connected(interp)) return TCL_ERROR;
        return fail(interp, kBadParameters);
    }
    if (sign && is(name, "primdebug")) return primdebug(session, interp, sign == '+', argc, argv);
    if (is(name, "agpmode")) return agpmode(session, interp, sign, argc, argv);
    if (is(name, "timeout")) {
        if (!check_chip_connected(interp)) return TCL_ERROR;
        return fail(interp, kBadParameters);
    }
    return fail(interp, kBadParameters);
}

}  // namespace kestrel
