#include "decode/receive_commands.h"

#include <array>
#include <string>
#include <utility>

#include "decode/received_decoder.h"
#include "decode/received_primitives.h"
#include "shell/session_context.h"
#include "transport/connection_state.h"
#include "transport/wait_commands.h"

namespace kestrel {
namespace {

int receive(SessionContext& session, Tcl_Interp* interp, const PrimitiveDef& row) {
    if (!check_chip_connected(interp)) return TCL_ERROR;
    PrimitiveRing* ring = session.receive_queue();
    if (!ring) {
        session.append_message("Error, the raw transport carries no primitives\n");
        return TCL_ERROR;
    }
    const bool use_timeout = session.wait_timeout_switch == 1;
    WaitScope waiting;
    for (;;) {
        uint32_t channel = 0, size = 0;
        const uint8_t* record = ring->take(use_timeout, &channel, &size);
        if (!record) {
            if (waiting.interrupted()) {
                session.append_message("Error, wait interrupted\n");
                return TCL_ERROR;
            }
            return use_timeout ? TCL_OK : TCL_ERROR;
        }
        // Everything ahead of the primitive this command names is dropped.
        if (channel != row.channel || size < 2 || get_le16(record) != row.type) continue;
        return decode_received_primitive(session, interp, row, channel, record, size, false);
    }
}

// One command procedure per row, made by the compiler from the row's index:
// the client data stays the session, as for every command.
template <size_t Index>
int receive_command(ClientData client_data, Tcl_Interp* interp, int, const char*[]) {
    return receive(*static_cast<SessionContext*>(client_data), interp, received_primitives()[Index]);
}

template <size_t... Index>
constexpr std::array<Tcl_CmdProc*, sizeof...(Index)> make_procedures(std::index_sequence<Index...>) {
    return {&receive_command<Index>...};
}

constexpr auto kProcedures = make_procedures(std::make_index_sequence<kReceivedPrimitiveCount>());

}  // namespace

void register_receive_commands(Tcl_Interp* interp, SessionContext& session) {
    const auto rows = received_primitives();
    for (size_t i = 0; i < rows.size(); ++i) {
        const std::string name(rows[i].name);
        Tcl_CreateCommand(interp, name.c_str(), kProcedures[i], &session, nullptr);
    }
}

}  // namespace kestrel
