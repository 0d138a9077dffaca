// PT_btl2cap, PT_ttl2cap, PT_btrfcomm, PT_ttrfcomm and PT_cancel: start a
// throughput test, wait for it or let it run, and report its results.
#include "transfer/throughput_commands.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "encode/number_conversion.h"
#include "shell/session_context.h"
#include "transfer/transfer_list.h"
#include "transport/connection_state.h"
#include "transport/wait_commands.h"

namespace kestrel {
namespace {

constexpr const char* kBadCount = "Error, found bad number of parameters for primitive\n";
constexpr const char* kConversionFailed = "Error, parameter conversion failure(s)\n";

// A parameter: its name (the variable an empty argument or '-' reads) and
// the value a '?' leaves.
struct Parameter {
    const char* name;
    uint32_t fallback;
};

// The arguments of the four transfer commands, in order; the defaults that
// '?' leaves are a first dynamic channel, 100-byte payloads, both
// directions on and ten seconds.
constexpr Parameter kBulkL2cap[] = {
    {"cid", 0x40}, {"tx_payload_length", 100}, {"tx_primitive_count", 0}, {"rx_primitive_count", 0}};
constexpr Parameter kTimedL2cap[] = {
    {"cid", 0x40}, {"tx_payload_length", 100}, {"tx_enabled", 1}, {"rx_enabled", 1}, {"timeperiod", 10}};
constexpr Parameter kBulkRfcomm[] = {{"mux_id", 0},   {"server_chan", 1},          {"tx_payload_length", 100},
                                     {"tx_credits", 0}, {"rx_credits", 0},          {"rx_reissue_threshold", 0},
                                     {"rx_reissue_credits", 0}, {"tx_primitive_count", 0}, {"rx_primitive_count", 0}};
constexpr Parameter kTimedRfcomm[] = {{"mux_id", 0},     {"server_chan", 1}, {"tx_payload_length", 100},
                                      {"tx_credits", 0},   {"rx_credits", 0},  {"rx_reissue_threshold", 0},
                                      {"rx_reissue_credits", 0}, {"tx_enabled", 1}, {"rx_enabled", 1},
                                      {"timeperiod", 10}};
constexpr Parameter kRfcommKey[] = {{"mux_id", 0}, {"server_chan", 1}};

const char* variable(Tcl_Interp* interp, const char* name) {
    const char* value = Tcl_GetVar(interp, name, 0);
    return value ? value : Tcl_GetVar(interp, name, TCL_GLOBAL_ONLY);
}

// Resolves args[0..count) against the parameters: a number; "" or "-" the
// variable named like the parameter; "$NAME" that variable; "?" the
// default. False, with the messages appended, when a variable is missing.
bool resolve(SessionContext& session, Tcl_Interp* interp, const Parameter* parameters, size_t count,
             const char* const* args, uint32_t* values) {
    int failures = 0;
    for (size_t i = 0; i < count; ++i) {
        const char* arg = args[i];
        if (arg[0] == '?') {
            values[i] = parameters[i].fallback;
            continue;
        }
        const char* name = arg[0] == '\0' || arg[0] == '-' ? parameters[i].name : arg[0] == '$' ? arg + 1 : nullptr;
        const char* text = name ? variable(interp, name) : arg;
        if (!text) {
            session.append_message("Error, could not find %s\n", name);
            ++failures;
            continue;
        }
        values[i] = static_cast<uint32_t>(parse_number(text));
    }
    if (failures == 0) return true;
    session.append_message("%s", kConversionFailed);
    return false;
}

// The connection a transfer command needs: a chip, and a link that carries
// primitives.
TransferList* transfers(SessionContext& session, Tcl_Interp* interp) {
    if (!check_chip_connected(interp)) return nullptr;
    if (!session.device_link || session.device_link->raw_open()) {
        session.append_message("Error, the raw transport carries no primitives\n");
        return nullptr;
    }
    return &session.device_link->transfers();
}

void append_result(Tcl_Interp* interp, const TransferResult& result) {
    const char* status = result.outcome == TransferResult::Outcome::finished ? "0" : "1";
    Tcl_AppendElement(interp, status);
    const size_t count = result.rfcomm ? 9 : 7;
    for (size_t i = 0; i < count; ++i) Tcl_AppendElement(interp, result.texts[i].c_str());
}

// The result of one transfer as a command answers it.
int report(SessionContext& session, Tcl_Interp* interp, const TransferResult& result) {
    switch (result.outcome) {
    case TransferResult::Outcome::none: session.append_message("Error, failed to identify transfer\n"); return TCL_ERROR;
    case TransferResult::Outcome::unknown_state:
        session.append_message("Error, failed to identify transfer mode\n");
        return TCL_ERROR;
    case TransferResult::Outcome::failed:
        for (size_t i = 0; i < 5; ++i) Tcl_AppendElement(interp, result.texts[i].c_str());
        return TCL_ERROR;
    case TransferResult::Outcome::finished: session.async_transfer = 0; [[fallthrough]];
    case TransferResult::Outcome::running: append_result(interp, result); return TCL_OK;
    }
    return TCL_ERROR;
}

// Every transfer, newest first: one element each.
int report_all(SessionContext& session, Tcl_Interp* interp, TransferList& list) {
    for (const TransferResult& result : list.results()) {
        switch (result.outcome) {
        case TransferResult::Outcome::failed:
        case TransferResult::Outcome::unknown_state:
        case TransferResult::Outcome::none: return report(session, interp, result);
        default: break;
        }
        std::string element = result.outcome == TransferResult::Outcome::finished ? "0" : "1";
        const size_t count = result.rfcomm ? 9 : 7;
        for (size_t i = 0; i < count; ++i) element += " " + result.texts[i];
        Tcl_AppendElement(interp, element.c_str());
    }
    return TCL_OK;
}

// Links the script's counters to the transfer's views, unless the first
// already exists: a reused record's stay linked.
void link_counters(Tcl_Interp* interp, TransferList& list, const TransferKey& key, const std::string& tx_name,
                   const std::string& rx_name) {
    if (Tcl_GetVar(interp, tx_name.c_str(), TCL_GLOBAL_ONLY)) return;
    const std::pair<const std::string*, std::atomic<int32_t>*> links[] = {{&tx_name, list.tx_view(key)},
                                                                          {&rx_name, list.rx_view(key)}};
    for (const auto& [name, view] : links) {
        if (!view) continue;
        if (Tcl_LinkVar(interp, name->c_str(), reinterpret_cast<char*>(view), TCL_LINK_INT | TCL_LINK_READ_ONLY) == TCL_OK)
            list.remember_linked(*name);
    }
    Tcl_ResetResult(interp);
}

std::string counter_name(const char* pattern, unsigned long a, unsigned long b = 0) {
    char name[64];
    std::snprintf(name, sizeof name, pattern, a, b);
    return name;
}

// Waits for the transfer's end. A keyboard interrupt gives up the wait and
// cancels the transfer, so the user always gets the prompt back.
int wait_for_end(SessionContext& session, TransferList& list, const TransferKey& key, TransferEvent& done) {
    WaitScope waiting;
    for (;;) {
        if (done.wait_for(std::chrono::milliseconds(100))) return TCL_OK;
        const bool gone = !session.device_link || !session.device_link->ring() || session.device_link->ring()->abandoned();
        if (waiting.interrupted() || gone) {
            list.cancel(key);
            session.append_message("Error, wait for transfer abandoned\n");
            return TCL_ERROR;
        }
    }
}

struct Started {
    TransferKey key;
    TransferEvent* event;
    std::string tx_name, rx_name;
};

// What the four commands share once their transfer has started.
int run(SessionContext& session, Tcl_Interp* interp, TransferList& list, const Started& started, bool async) {
    if (!started.event) {
        session.append_message("Error, failed to generate payload.\n");
        return TCL_ERROR;
    }
    link_counters(interp, list, started.key, started.tx_name, started.rx_name);
    if (async) return TCL_OK;
    if (wait_for_end(session, list, started.key, *started.event) != TCL_OK) return TCL_ERROR;
    return report(session, interp, list.result(started.key));
}

bool is_async(const char* arg) { return std::strcmp(arg, "async") == 0; }

TransferKey l2cap_key(const uint32_t* v) { return TransferKey::l2cap(static_cast<uint16_t>(v[0])); }
TransferKey dlc_key(const uint32_t* v) {
    return TransferKey::dlc(static_cast<uint8_t>(v[0]), static_cast<uint8_t>(v[1]));
}

// A command's arguments: a start's parameters, and those that name one
// transfer for a report.
struct Shape {
    std::span<const Parameter> parameters;
    std::span<const Parameter> key;
    TransferKey (*key_of)(const uint32_t* values);
};

// What the four commands share: no argument reports every transfer, the
// key's arguments report one, all of them (and "async") start one.
int transfer_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[], const Shape& shape,
                     const std::function<Started(TransferList&, const uint32_t* values)>& start) {
    auto& session = *static_cast<SessionContext*>(client_data);
    const int count = argc - 1;
    const int all = static_cast<int>(shape.parameters.size());
    const int key = static_cast<int>(shape.key.size());
    if (count != 0 && count != key && count != all && count != all + 1) {
        session.append_message("%s", kBadCount);
        return TCL_ERROR;
    }
    TransferList* list = transfers(session, interp);
    if (!list) return TCL_ERROR;
    if (count == 0) return report_all(session, interp, *list);
    uint32_t v[std::size(kTimedRfcomm)] = {};
    if (count == key) {
        if (!resolve(session, interp, shape.key.data(), shape.key.size(), argv + 1, v)) return TCL_ERROR;
        return report(session, interp, list->result(shape.key_of(v)));
    }
    if (!resolve(session, interp, shape.parameters.data(), shape.parameters.size(), argv + 1, v)) return TCL_ERROR;
    const bool async = count == all + 1 && is_async(argv[count]);
    if (async) session.async_transfer = 1;
    return run(session, interp, *list, start(*list, v), async);
}

int l2cap_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[], bool timed) {
    const Shape shape{timed ? std::span<const Parameter>(kTimedL2cap) : std::span<const Parameter>(kBulkL2cap),
                      std::span<const Parameter>(kBulkL2cap, 1), l2cap_key};
    return transfer_command(client_data, interp, argc, argv, shape, [timed](TransferList& list, const uint32_t* v) {
        L2capStart start{.cid = static_cast<uint16_t>(v[0]), .payload_length = static_cast<uint16_t>(v[1]),
                         .tx_target = v[2], .rx_target = v[3], .timed = timed, .period_ms = timed ? v[4] * 1000 : 0};
        return Started{TransferKey::l2cap(start.cid), list.start_l2cap(start),
                       counter_name("gTXcount(0x%lx)", start.cid), counter_name("gRXcount(0x%lx)", start.cid)};
    });
}

int rfcomm_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[], bool timed) {
    const Shape shape{timed ? std::span<const Parameter>(kTimedRfcomm) : std::span<const Parameter>(kBulkRfcomm),
                      std::span<const Parameter>(kRfcommKey), dlc_key};
    return transfer_command(client_data, interp, argc, argv, shape, [timed](TransferList& list, const uint32_t* v) {
        RfcommStart start{.mux_id = static_cast<uint8_t>(v[0]), .server_chan = static_cast<uint8_t>(v[1]),
                          .payload_length = static_cast<uint16_t>(v[2]), .tx_credits = static_cast<uint16_t>(v[3]),
                          .rx_credits = static_cast<uint16_t>(v[4]),
                          .rx_reissue_threshold = static_cast<uint16_t>(v[5]),
                          .rx_reissue_credits = static_cast<uint16_t>(v[6]), .tx_target = v[7], .rx_target = v[8]};
        Started started{TransferKey::dlc(start.mux_id, start.server_chan), nullptr, {}, {}};
        if (timed) {
            // The switches are 16-bit; the period is given in seconds, and
            // the counters are named in decimal.
            start.tx_target = static_cast<uint16_t>(v[7]);
            start.rx_target = static_cast<uint16_t>(v[8]);
            start.timed = true;
            start.period_ms = v[9] * 1000;
            started.tx_name = counter_name("gTXcount(%lu,%lu)", start.mux_id, start.server_chan);
            started.rx_name = counter_name("gRXcount(%lu,%lu)", start.mux_id, start.server_chan);
        } else {
            started.tx_name = counter_name("gTXcount(0x%lx,0x%lx)", start.mux_id, start.server_chan);
            started.rx_name = counter_name("gRXcount(0x%lx,0x%lx)", start.mux_id, start.server_chan);
        }
        started.event = list.start_rfcomm(start);
        return started;
    });
}

}  // namespace

int pt_btl2cap_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    return l2cap_command(client_data, interp, argc, argv, false);
}

int pt_ttl2cap_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    return l2cap_command(client_data, interp, argc, argv, true);
}

int pt_btrfcomm_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    return rfcomm_command(client_data, interp, argc, argv, false);
}

int pt_ttrfcomm_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    return rfcomm_command(client_data, interp, argc, argv, true);
}

int pt_cancel_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]) {
    auto& session = *static_cast<SessionContext*>(client_data);
    const int count = argc - 1;
    if (count > 2) {
        session.append_message("%s", kBadCount);
        return TCL_ERROR;
    }
    TransferList* list = transfers(session, interp);
    if (!list) return TCL_ERROR;
    uint32_t v[2] = {};
    if (count == 1) {
        if (!resolve(session, interp, kBulkL2cap, 1, argv + 1, v)) return TCL_ERROR;
        list->cancel(TransferKey::l2cap(static_cast<uint16_t>(v[0])));
    } else if (count == 2) {
        if (!resolve(session, interp, kRfcommKey, 2, argv + 1, v)) return TCL_ERROR;
        list->cancel(TransferKey::dlc(static_cast<uint8_t>(v[0]), static_cast<uint8_t>(v[1])));
    } else {
        list->cancel(std::nullopt);
    }
    return TCL_OK;
}

}  // namespace kestrel
