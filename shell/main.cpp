#include "shell/session_main.h"
#include "sim/embedded_sim.h"

int main(int argc, char** argv) {
    // The device name "sim" reaches a simulated chip inside the program.
    kestrel::register_embedded_sim();
    return kestrel::run_kestrel(argc, argv);
}
