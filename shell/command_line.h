// The command line: options are read after the interpreter has started, so
// -v overrides the defaults, -s the start-up switches, and -a finds every
// command registered.
#pragma once

#include <string>

namespace kestrel {

class SessionContext;

// The prompt text; -p replaces it. Bounded like the text buffer it shows.
inline constexpr size_t kPromptCapacity = 1023;

// Applies the options left to right. False after an unknown option, when the
// usage text has been printed and the program is to end with code 1.
bool parse_command_line(int argc, char** argv, SessionContext& session, std::string& prompt);

}  // namespace kestrel
