#include "shell/command_line.h"

#include <cctype>
#include <cstring>

#include "shell/output.h"
#include "shell/run_flags.h"
#include "shell/script_index.h"
#include "shell/session_context.h"

namespace kestrel {
namespace {

void print_usage() {
    output_write("\nUsage: kestrel [options]\n\n");
    output_write("kestrel valid commandline options\n");
    output_write("-e              echo piped input\n");
    output_write("-s              show events\n");
    output_write("-v var=value    define a tcl variable\n");
    output_write("-l filename     echo stdout to file\n");
    output_write("-b              batch mode\n");
    output_write("-p promptname   change KESTREL prompt\n");
    output_write("-a              regenerate tclIndex file\n");
}

void open_log(const char* path) {
    if (!path) {
        output_write("Logging failed, no filename given.\n");
        return;
    }
    if (!log_open(path)) {
        output_write("Logging failed, unable to create file.\n");
        return;
    }
    set_run_flag(kRunLogging);
    output_write("Logging enabled.\n");
    // The build stamp of the log format, fixed so that logs compare alike.
    output_printf("Build date is %s at %s\n", "Feb 20 2003", "18:56:25");
    output_write("Build version is 2.0r\n");
}

void define_variable(Tcl_Interp* interp, const char* assignment) {
    if (!assignment) return;
    const char* equals = std::strchr(assignment, '=');
    if (!equals || equals == assignment) return;
    std::string name(assignment, equals);
    Tcl_SetVar(interp, name.c_str(), equals + 1, TCL_GLOBAL_ONLY);
}

}  // namespace

bool parse_command_line(int argc, char** argv, SessionContext& session, std::string& prompt) {
    for (int i = 1; i < argc; ++i) {
        const char* arg = argv[i];
        if (arg[0] != '-' && arg[0] != '/') {
            output_printf("Ignored unrecognised argument '%s'\n", arg);
            continue;
        }
        const char* next = i + 1 < argc ? argv[i + 1] : nullptr;
        switch (std::tolower(static_cast<unsigned char>(arg[1]))) {
        case 'a':
            regenerate_script_index(session.interp);
            break;
        case 'b':
            set_run_flag(kRunBatchMode);
            output_write("Batch mode enabled.\n");
            break;
        case 'd':
            set_run_flag(kRunDebugger);
            output_write("Internal debugger enabled.\n");
            break;
        case 'e':
            set_run_flag(kRunEchoPipedInput);
            output_write("Echo piped input enabled.\n");
            break;
        case 'l':
            open_log(next);
            if (next) ++i;
            break;
        case 'p':
            if (next) {
                prompt.assign(next, strnlen(next, kPromptCapacity));
                ++i;
            }
            break;
        case 's':
            show_all_primitives(session.debug_switches);
            output_write("Incoming and outgoing primitives shown.\n");
            break;
        case 'v':
            define_variable(session.interp, next);
            if (next) ++i;
            break;
        default:
            print_usage();
            return false;
        }
    }
    return true;
}

}  // namespace kestrel
