// The interpreter of a session: start-up, evaluation of the program's own
// scripts, and one step of the read-eval loop per input line.
#pragma once

#include <tcl.h>

#include <string>
#include <string_view>

namespace kestrel {

class SessionContext;

// Creates and prepares the interpreter of the session: commands, default
// variables, auto-load path, debug switches, manual, script index. False
// when no interpreter could be created.
bool start_interpreter(SessionContext& session, const char* program_path);

// Evaluates a script of the program's own and prints the Tcl error trace
// when it fails. Returns the Tcl result code.
int evaluate_and_report(Tcl_Interp* interp, const char* script);

// Shows the prompt: the text and ">", with a line break in batch mode.
void show_prompt(const std::string& prompt);

// Adds one input line to the command being typed and evaluates the command
// once it is complete. False when a command failed (which ends a batch
// session).
bool read_eval_step(SessionContext& session, std::string_view line, const std::string& prompt);

}  // namespace kestrel
