// The output routine: every text the session prints passes through here, so
// that the log file of -l holds an exact copy of the console.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>
#include <string_view>

namespace kestrel {

// Writes text to the log file (when one is open) and to the console, then
// flushes the console. Safe from any thread: writers are serialised, so the
// text of one call is never interleaved with another's.
int output_write(std::string_view text);

// printf-style front end of output_write.
int output_printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
int output_vprintf(const char* format, va_list args);

// Opens the log file in append mode; false when it cannot be opened. A log
// that is already open is closed first.
bool log_open(const std::string& path);
void log_close();
bool log_is_open();

// While the mute word is non-zero nothing is printed. Kestrel itself never
// sets it; it exists so that an embedding program can silence the console.
void output_set_mute(int mute);

// Redirects the console (tests capture it in a temporary file). nullptr
// restores standard output.
void output_set_console(std::FILE* console);

}  // namespace kestrel
