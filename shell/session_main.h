// The program: start-up, the loop over input lines, restart and shut-down.
#pragma once

namespace kestrel {

// Runs a whole session; the answer is the process exit code (0 after a
// normal end, 1 after the usage text, -1 when no interpreter could start).
int run_kestrel(int argc, char** argv);

}  // namespace kestrel
