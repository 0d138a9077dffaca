#include "shell/interpreter.h"

#include <unistd.h>

#include "decode/receive_commands.h"
#include "decode/received_primitives.h"
#include "encode/primitive_commands.h"
#include "encode/vocabulary.h"
#include "shell/builtin_commands.h"
#include "shell/console_channel.h"
#include "shell/default_variables.h"
#include "shell/manual.h"
#include "shell/output.h"
#include "shell/run_flags.h"
#include "shell/script_index.h"
#include "shell/session_context.h"
#include "transfer/rfcomm_flow_control.h"

namespace kestrel {
namespace {

// Every input line is followed by this in the command text, so that output
// of the line is on the console before the next one is read.
constexpr std::string_view kFlushAfterLine = "flush stdout\n";

}  // namespace

int evaluate_and_report(Tcl_Interp* interp, const char* script) {
    int code = Tcl_Eval(interp, script);
    if (code == TCL_ERROR) {
        const char* trace = Tcl_GetVar(interp, "errorInfo", TCL_GLOBAL_ONLY);
        output_printf("%s\n", trace ? trace : "");
    }
    return code;
}

bool start_interpreter(SessionContext& session, const char* program_path) {
    Tcl_FindExecutable(program_path);
    install_console_channel();
    session.interp = Tcl_CreateInterp();
    if (!session.interp) {
        output_write("Error, unable to initialize tcl interpreter\n");
        return false;
    }
    Tcl_Interp* interp = session.interp;

    // A Tcl library installed beside the program takes precedence; otherwise
    // the system's installed library serves.
    if (access("init.tcl", R_OK) == 0) Tcl_SetVar(interp, "tcl_library", ".", TCL_GLOBAL_ONLY);
    if (Tcl_Init(interp) == TCL_ERROR) output_printf("Failed to init tcl because: %s\n", Tcl_GetStringResult(interp));

    register_builtin_commands(interp, session);
    // The primitive families' commands follow the built-in ones: the issuing
    // commands, then the receive commands.
    register_primitive_commands(interp, session);
    register_receive_commands(interp, session);
    set_default_variables(interp);
    set_vocabulary_variables(interp);

    evaluate_and_report(interp, "lappend auto_path ./kestrellibs");
    session.payload_generator.set_interpreter(interp);

    session.new_command = true;
    session.debug_switches = initial_debug_switches();

    add_builtin_manual(interp);
    // The primitive families' manual: the issuing rows first (DM issuing
    // rows first), then the receivable rows.
    add_sent_primitive_manual(interp);
    add_primitive_manual_rows(interp, received_primitives(), PrimitiveRole::receivable);
    scan_script_index(interp);
    return true;
}

void show_prompt(const std::string& prompt) {
    output_printf("%s>", prompt.c_str());
    if (run_flag(kRunBatchMode)) output_write("\n");
}

bool read_eval_step(SessionContext& session, std::string_view line, const std::string& prompt) {
    if (run_flag(kRunBatchMode) && session.new_command && line.empty()) return true;
    if (session.new_command) {
        Tcl_DStringInit(&session.partial);
        session.new_command = false;
    }
    Tcl_DStringAppend(&session.partial, line.data(), static_cast<int>(line.size()));
    Tcl_DStringAppend(&session.partial, kFlushAfterLine.data(), static_cast<int>(kFlushAfterLine.size()));

    bool answer = true;
    if (Tcl_CommandComplete(Tcl_DStringValue(&session.partial))) {
        Tcl_Interp* interp = session.interp;
        int code = Tcl_Eval(interp, Tcl_DStringValue(&session.partial));
        Tcl_DStringFree(&session.partial);
        if (code == TCL_ERROR) {
            answer = false;
            const char* text = session.show_stack_on_error ? Tcl_GetVar(interp, "errorInfo", TCL_GLOBAL_ONLY)
                                                           : Tcl_GetStringResult(interp);
            output_printf("%s\n", text ? text : "");
        }
        session.new_command = true;
        show_prompt(prompt);
    }
    // More credits back than primitives sent: the chip and Kestrel disagree
    // on the data in flight, and nothing after this can be trusted.
    if (session.device_link && session.device_link->flow_control() && session.device_link->flow_control()->fatal())
        return false;
    return answer;
}

}  // namespace kestrel
