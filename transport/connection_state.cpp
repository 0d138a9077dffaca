#include "transport/connection_state.h"

namespace kestrel {
namespace {

bool check(Tcl_Interp* interp, uint8_t mask, const char* message) {
    if (connected(mask)) return true;
    Tcl_AppendResult(interp, message, nullptr);
    return false;
}

}  // namespace

bool check_chip_or_tci_connected(Tcl_Interp* interp) {
    return check(interp, kChipConnected | kTciConnected, "ERROR, You are not connected to a Petrel or TCI device\n");
}

bool check_chip_connected(Tcl_Interp* interp) {
    return check(interp, kChipConnected, "ERROR, You are not connected to a Petrel device\n");
}

bool check_tci_connected(Tcl_Interp* interp) {
    return check(interp, kTciConnected, "ERROR, You are not connected to a TCI device\n");
}

}  // namespace kestrel
