#include "shell/session_main.h"

#include <strings.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

#include "shell/banner.h"
#include "shell/command_line.h"
#include "shell/interpreter.h"
#include "shell/output.h"
#include "shell/run_flags.h"
#include "shell/session_context.h"
#include "transport/connection_state.h"
#include "transport/wait_commands.h"

namespace kestrel {
namespace {

enum class LineAction { evaluate, quit, restart };

// Only a whole line, newline included, is one of the loop's own words.
LineAction classify(const std::string& line) {
    if (strcasecmp(line.c_str(), "quit\n") == 0 || strcasecmp(line.c_str(), "exit\n") == 0) return LineAction::quit;
    if (strcasecmp(line.c_str(), "restart\n") == 0) return LineAction::restart;
    return LineAction::evaluate;
}

// Reads one line, its newline included. A line is read whole, however long:
// cutting it would put the loop's "flush stdout" into the middle of a
// command. Text from a NUL byte to the end of the line is dropped, as a C
// string ends there.
bool read_line(std::FILE* input, std::string& line) {
    char* buffer = nullptr;
    size_t capacity = 0;
    ssize_t length = getline(&buffer, &capacity, input);
    if (length < 0) {
        std::free(buffer);
        return false;
    }
    line.assign(buffer, static_cast<size_t>(length));
    std::free(buffer);
    if (size_t nul = line.find('\0'); nul != std::string::npos) {
        const bool had_newline = line.back() == '\n';
        line.resize(nul);
        if (had_newline) line += '\n';
    }
    return true;
}

void print_time_line(const char* label) {
    std::time_t now = std::time(nullptr);
    const char* text = std::ctime(&now);
    output_printf("Session %s time is %.19s %s", label, text, text + 20);
}

// Ends the session: statistics, end time, log, interpreter.
void shut_down(std::unique_ptr<SessionContext>& session) {
    // A link still connected at the end is left to the process exit: its
    // counts are not added and it is not disconnected.
    clear_connected(kChipConnected);
    if (session) session->print_statistics();
    print_time_line("end");
    output_write("\n");
    log_close();
    g_current_session = nullptr;
    session.reset();
}

// The `exit` command of Tcl ends the session as "exit" typed alone does.
[[noreturn]] void exit_from_script(ClientData status) {
    std::unique_ptr<SessionContext> session(g_current_session);
    // The interpreter is running this command; it goes with the process.
    if (session) session->interp = nullptr;
    shut_down(session);
    std::exit(static_cast<int>(reinterpret_cast<intptr_t>(status)));
}

}  // namespace

int run_kestrel(int argc, char** argv) {
    std::string prompt = "KESTREL";
    std::FILE* input = stdin;
    Tcl_SetExitProc(exit_from_script);
    install_wait_interrupt();

    for (;;) {
        print_banner();
        print_time_line("start");

        auto session = std::make_unique<SessionContext>();
        g_current_session = session.get();
        if (!start_interpreter(*session, argv[0])) {
            output_write("Tcl interpreter failed to start.\n");
            return -1;
        }
        evaluate_and_report(session->interp, "puts \"Tcl interpreter started (Tcl v[info tclversion]).\"");

        if (!parse_command_line(argc, argv, *session, prompt)) {
            // Nothing is shut down and nothing more is printed; the session
            // stays reachable until the process ends.
            session.release();
            return 1;
        }
        if (!isatty(fileno(input))) set_run_flag(kRunPipedInput);

        output_write("\n");
        show_prompt(prompt);

        bool restart = false;
        std::string line;
        while (read_line(input, line)) {
            if (run_flag(kRunEchoPipedInput) && run_flag(kRunPipedInput)) output_write(line);
            LineAction action = classify(line);
            if (action == LineAction::quit) break;
            if (action == LineAction::restart) {
                restart = true;
                break;
            }
            if (!read_eval_step(*session, line, prompt) && run_flag(kRunBatchMode)) {
                output_write("\n\nAborting Kestrel due to errors detected in batch mode.\n");
                break;
            }
        }
        if (!restart) {
            shut_down(session);
            Tcl_Finalize();
            return 0;
        }
        // The log stays open across the restart, so that the new banner and
        // start time reach it; -l closes and reopens it as it is parsed again.
        g_current_session = nullptr;
        session.reset();
    }
}

}  // namespace kestrel
