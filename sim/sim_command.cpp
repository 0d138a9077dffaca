#include "sim/sim_command.h"

#include <string>
#include <vector>

#include "sim/control_surface.h"
#include "sim/embedded_sim.h"

namespace kestrel {

int sim_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[]) {
    auto answer = [interp](const std::string& text, int code) {
        Tcl_SetObjResult(interp, Tcl_NewStringObj(text.data(), static_cast<int>(text.size())));
        return code;
    };
    if (argc < 2) return answer("Error, usage: PT_sim command [args...] (PT_sim help lists them)\n", TCL_ERROR);
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words[0] == "help" && argc == 2) return answer(std::string(sim::control_help()), TCL_OK);
    const std::shared_ptr<sim::SimulatedChip> chip = sim::current_embedded_chip();
    if (!chip) return answer("Error, no simulated chip is running\n", TCL_ERROR);
    const sim::ControlResult result = sim::run_control_command(*chip, words);
    return answer(result.text, result.ok ? TCL_OK : TCL_ERROR);
}

}  // namespace kestrel
