#include "transport/connection_commands.h"

#include <strings.h>

#include <string>
#include <vector>

#include "encode/number_conversion.h"
#include "shell/session_context.h"
#include "transport/connection_state.h"

namespace kestrel {
namespace {

bool defaulted(int argc, const char* arg) { return argc == 1 || arg[0] == '-'; }

// The device: argument 1, or for none or a '-' the variable comport.
std::string device_argument(Tcl_Interp* interp, int argc, const char* argv[]) {
    if (!defaulted(argc, argc > 1 ? argv[1] : "")) return argv[1];
    const char* comport = Tcl_GetVar(interp, "comport", 0);
    return comport ? comport : "bad_mojo";
}

// The rate: argument index, or for none or a '-' the variable baud_rate; -1
// when neither gives one.
int32_t baud_argument(Tcl_Interp* interp, int argc, const char* argv[], int index) {
    if (!defaulted(argc, argc > index ? argv[index] : "")) return parse_number(argv[index]);
    if (const char* rate = Tcl_GetVar(interp, "baud_rate", 0)) return parse_number(rate);
    return -1;
}

ChipProtocol protocol_word(const char* word) {
    if (strcasecmp(word, "ptsp") == 0) return ChipProtocol::ptsp;
    if (strcasecmp(word, "h4") == 0) return ChipProtocol::h4;
    if (strcasecmp(word, "raw") == 0) return ChipProtocol::raw;
    if (strcasecmp(word, "usb") == 0) return ChipProtocol::usb;
    return ChipProtocol::ptsp;
}

}  // namespace

int pt_connect_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    auto& session = *static_cast<SessionContext*>(client_data);
    if (session.device_link) {
        Tcl_AppendResult(interp, "Petrel is already connected.\n", nullptr);
        return TCL_ERROR;
    }
    if (argc != 1 && argc != 4) {
        Tcl_AppendResult(interp, "Error in arguments\n", "Usage: connect <devname> <protocol> <baudrate>\n", nullptr);
        return TCL_ERROR;
    }

    const std::string device = device_argument(interp, argc, argv);

    ChipProtocol protocol = ChipProtocol::ptsp;
    if (!defaulted(argc, argc > 1 ? argv[2] : "")) {
        protocol = protocol_word(argv[2]);
    } else if (const char* word = Tcl_GetVar(interp, "protocol", 0)) {
        // The variable knows only the two serial framings.
        if (strcasecmp(word, "h4") == 0) protocol = ChipProtocol::h4;
    }

    const int32_t baud = baud_argument(interp, argc, argv, 3);

    // A TCI link that is up shares its queue with the chip.
    std::shared_ptr<PrimitiveRing> tci_ring;
    if (connected(kTciConnected) && session.tci_link) tci_ring = session.tci_link->shared_ring();
    session.device_link = std::make_unique<DeviceLink>(session.payload_generator);
    const int reason = session.device_link->connect(device, baud, protocol, std::move(tci_ring));
    if (reason != 0) {
        session.append_message("ERROR - Failed to connect (reason : %d)\n", reason);
        session.device_link.reset();
        return TCL_ERROR;
    }
    set_connected(kChipConnected);
    session.device_link->copy_switches(session.debug_switches);
    return TCL_OK;
}

int pt_disconnect_command(ClientData client_data, Tcl_Interp* interp, int, const char*[]) {
    auto& session = *static_cast<SessionContext*>(client_data);
    if (!check_chip_connected(interp)) return TCL_ERROR;
    // The counts are added while the link still counts as connected.
    session.accumulate_statistics();
    clear_connected(kChipConnected);
    session.drop_device_link();
    return TCL_OK;
}

int tci_connect_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    auto& session = *static_cast<SessionContext*>(client_data);
    if (argc != 1 && argc != 3) {
        Tcl_AppendResult(interp, "Error in arguments\n", "Usage: connect <devname> <baudrate>\n", nullptr);
        return TCL_ERROR;
    }
    const std::string device = device_argument(interp, argc, argv);
    const int32_t baud = baud_argument(interp, argc, argv, 2);

    // Stored at once, replacing any earlier link: there is no already-
    // connected test, and a link whose device never became ready stays
    // stored with the connection bit clear.
    std::shared_ptr<PrimitiveRing> chip_ring;
    if (connected(kChipConnected) && session.device_link) chip_ring = session.device_link->shared_ring();
    // An earlier link that is replaced goes away whole: its reader stops, so
    // that nothing it receives reaches a link that is gone.
    clear_connected(kTciConnected);
    session.tci_link = std::make_unique<TciLink>();
    if (!session.tci_link->connect(device, static_cast<unsigned>(baud), std::move(chip_ring))) return TCL_OK;
    set_connected(kTciConnected);
    return TCL_OK;
}

int tci_disconnect_command(ClientData client_data, Tcl_Interp* interp, int, const char*[]) {
    auto& session = *static_cast<SessionContext*>(client_data);
    if (!check_tci_connected(interp)) return TCL_ERROR;
    clear_connected(kTciConnected);
    session.tci_link.reset();
    return TCL_OK;
}

int pt_send_raw_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    auto& session = *static_cast<SessionContext*>(client_data);
    if (!session.device_link || !session.device_link->raw_open()) {
        Tcl_AppendResult(interp, "Raw transport not initialised. Use PT_connect to initiate it.\n", nullptr);
        return TCL_ERROR;
    }
    if (argc < 2) {
        Tcl_AppendResult(interp, "Error in arguments\n", "Usage: PT_send_raw <data e.g. 1 2 3>\n", nullptr);
        return TCL_ERROR;
    }
    std::vector<uint8_t> bytes;
    for (int i = 1; i < argc; ++i) bytes.push_back(static_cast<uint8_t>(parse_number(argv[i])));
    if (session.device_link->write_raw(bytes) < bytes.size()) {
        Tcl_AppendResult(interp, "Internal error: Not all data was written.\n", nullptr);
        return TCL_ERROR;
    }
    return TCL_OK;
}

}  // namespace kestrel
