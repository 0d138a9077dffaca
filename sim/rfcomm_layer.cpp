// RFCOMM on the chip: the multiplexer to another device and its data link
// channels, with parameter and port negotiation, control and line status,
// test frames, credit-based flow control on the air, and the credits that
// the chip returns to the host for every data primitive it has finished
// with (RFC_DATA_IND on mux and server channel 0xFF with the running total).
#include "sim/chip_stack.h"

namespace kestrel::sim {
namespace {

using K = AirFrame::Kind;

constexpr uint8_t kCreditMarker = 0xFF;
constexpr uint8_t kRefused = 1;
constexpr uint16_t kDefaultFrame = 127;

}  // namespace

void StackCore::return_credit() {
    ++credit_total_;
    emit(ChipPrimitive("RFC_DATA_IND").set("phandle", rfc_phandle_).set("mux_id", kCreditMarker)
             .set("server_chan", kCreditMarker).set("credits", credit_total_));
}

void StackCore::rfcomm_send_waiting(uint8_t mux_id, uint8_t chan) {
    Mux& mux = muxes_[mux_id];
    Dlc& dlc = mux.dlcs[chan];
    while (!dlc.waiting.empty() && dlc.remote_credits > 0) {
        std::vector<uint8_t> frame = std::move(dlc.waiting.front());
        dlc.waiting.pop_front();
        --dlc.remote_credits;
        // The host's grant rides in the frame's first two bytes while it waits.
        const uint16_t grant = static_cast<uint16_t>(frame[0] | frame[1] << 8);
        const bool confirm = frame[2] != 0;
        const auto left = send_air({.kind = K::rfc_data, .to = mux.peer, .result = grant, .chan = chan,
                                    .data = {frame.begin() + 3, frame.end()}});
        at(left, [this, mux_id, chan, confirm] {
            if (confirm)
                emit(ChipPrimitive("RFC_DATAWRITE_CFM").set("phandle", rfc_phandle_).set("mux_id", mux_id).set("server_chan", chan));
            return_credit();
        });
    }
}

void StackCore::on_rfcomm(const HostPrimitive& p) {
    const std::string_view name = p.name();
    const uint8_t mux_id = static_cast<uint8_t>(p.get("mux_id"));
    const auto mux = muxes_.find(mux_id);
    const bool known = mux != muxes_.end();
    // The host's flow control accounts for these two only, so only they
    // are credited.
    const bool data = name == "RFC_DATA_REQ" || name == "RFC_DATAWRITE_REQ";
    if (data && (!known || !mux->second.open)) {
        return_credit();  // finished with, though it went nowhere
        return;
    }
    const BdAddr peer = known ? mux->second.peer : BdAddr{};
    // The channel a request is about: the remote's server channel when it
    // names both ends.
    const uint8_t chan = static_cast<uint8_t>(p.has("rem_server_chan") ? p.get("rem_server_chan") : p.get("server_chan"));

    if (name == "RFC_INIT_REQ") {
        rfc_phandle_ = static_cast<uint16_t>(p.get("phandle"));
        emit(ChipPrimitive("RFC_INIT_CFM").copy_from(p));
    } else if (name == "RFC_REGISTER_REQ") {
        rfc_register_phandle_ = static_cast<uint16_t>(p.get("phandle"));
        uint8_t free = 1;
        while (std::find(rfc_server_chans_.begin(), rfc_server_chans_.end(), free) != rfc_server_chans_.end()) ++free;
        const bool ok = free <= 30;
        if (ok) rfc_server_chans_.push_back(free);
        emit(ChipPrimitive("RFC_REGISTER_CFM").set("phandle", rfc_register_phandle_).set("server_chan", ok ? free : 0).set("accept", ok));
    } else if (name == "RFC_START_REQ") {
        const BdAddr target = p.address();
        const uint8_t id = next_mux_++;
        Mux& m = muxes_[id];
        m.peer = target;
        m.initiator = true;
        const uint16_t frame = static_cast<uint16_t>(p.get("sys_pars.max_frame_size"));
        emit(ChipPrimitive("RFC_START_CFM").set("phandle", rfc_phandle_).copy_from(p).set("mux_id", id));
        when_connected(target, [this, id, target, frame](bool up) {
            if (up) {
                send_air({.kind = K::rfc_start, .to = target, .result = frame});
                return;
            }
            emit(ChipPrimitive("RFC_STARTCMP_IND").set("phandle", rfc_phandle_).set("mux_id", id).set("result_code", kRefused));
            muxes_.erase(id);
        });
    } else if (name == "RFC_START_RES") {
        if (!known) return;
        const bool accept = p.get("accept") != 0;
        send_air({.kind = K::rfc_start_rsp, .to = peer, .result = static_cast<uint16_t>(accept ? 0 : kRefused)});
        mux->second.open = accept;
        emit(ChipPrimitive("RFC_STARTCMP_IND").set("phandle", rfc_phandle_).copy_from(p).set("result_code", accept ? 0 : kRefused));
        if (!accept) muxes_.erase(mux);
    } else if (!known) {
        return;  // every other request names an open multiplexer
    } else if (name == "RFC_PARNEG_REQ" || name == "RFC_PARNEG_RES") {
        Dlc& dlc = mux->second.dlcs[chan];
        dlc.max_frame = static_cast<uint16_t>(p.get("dlc_pars.max_frame_size"));
        send_air({.kind = name == "RFC_PARNEG_REQ" ? K::rfc_pn : K::rfc_pn_rsp, .to = peer, .psm = dlc.max_frame,
                  .result = static_cast<uint16_t>(p.get("dlc_pars.initial_credits")), .chan = chan,
                  .identifier = static_cast<uint8_t>(p.get("dlc_pars.credit_flow_ctrl"))});
    } else if (name == "RFC_ESTABLISH_REQ") {
        send_air({.kind = K::rfc_establish, .to = peer, .chan = chan});
    } else if (name == "RFC_ESTABLISH_RES") {
        const bool accept = p.get("accept") != 0;
        send_air({.kind = K::rfc_establish_rsp, .to = peer, .result = static_cast<uint16_t>(accept ? 0 : kRefused), .chan = chan});
        if (accept) {
            Dlc& dlc = mux->second.dlcs[chan];
            dlc.open = true;
            if (!dlc.remote_credits) dlc.remote_credits = initial_credits_;
        } else {
            mux->second.dlcs.erase(chan);
        }
    } else if (name == "RFC_DATA_REQ" || name == "RFC_DATAWRITE_REQ") {
        const auto payload = p.block("payload");
        std::vector<uint8_t> held{uint8_t(p.get("credits")), uint8_t(p.get("credits") >> 8), name == "RFC_DATAWRITE_REQ"};
        held.insert(held.end(), payload.begin(), payload.end());
        const auto dlc = mux->second.dlcs.find(chan);
        if (dlc == mux->second.dlcs.end() || !dlc->second.open) {
            return_credit();
            return;
        }
        if (payload.empty() && p.get("credits")) {
            // Credits alone travel at once, whatever the peer has granted.
            send_air({.kind = K::rfc_credit, .to = peer, .result = static_cast<uint16_t>(p.get("credits")), .chan = chan});
            return_credit();
            return;
        }
        dlc->second.waiting.push_back(std::move(held));
        rfcomm_send_waiting(mux_id, chan);
    } else if (name == "RFC_TEST_REQ") {
        const auto test = p.block("test_data");
        send_air({.kind = K::rfc_test, .to = peer, .data = {test.begin(), test.end()}});
    } else if (name == "RFC_CONTROL_REQ") {
        send_air({.kind = K::rfc_msc, .to = peer, .psm = static_cast<uint16_t>(p.get("control_pars.modem_signal")),
                  .result = static_cast<uint16_t>(p.get("control_pars.break_signal")), .chan = chan});
    } else if (name == "RFC_LINESTATUS_REQ") {
        send_air({.kind = K::rfc_rls, .to = peer, .psm = static_cast<uint16_t>(p.get("error_flag")),
                  .result = static_cast<uint16_t>(p.get("line_status")), .chan = chan});
    } else if (name == "RFC_PORTNEG_REQ" || name == "RFC_PORTNEG_RES") {
        std::vector<uint8_t> pars;
        for (const char* f : {"port_pars.port_speed", "port_pars.data_bits", "port_pars.stop_bits", "port_pars.parity",
                              "port_pars.parity_type", "port_pars.flow_ctrl_mask", "port_pars.xon", "port_pars.xoff"})
            pars.push_back(static_cast<uint8_t>(p.get(f)));
        send_air({.kind = name == "RFC_PORTNEG_REQ" ? K::rfc_rpn : K::rfc_rpn_rsp, .to = peer,
                  .psm = static_cast<uint16_t>(p.get("port_pars.parameter_mask")), .chan = chan,
                  .identifier = static_cast<uint8_t>(p.get("request")), .data = pars});
    } else if (name == "RFC_FCON_REQ" || name == "RFC_FCOFF_REQ") {
        const bool on = name == "RFC_FCON_REQ";
        send_air({.kind = on ? K::rfc_fcon : K::rfc_fcoff, .to = peer});
        emit(ChipPrimitive(on ? "RFC_FCON_CFM" : "RFC_FCOFF_CFM").set("phandle", rfc_phandle_).set("mux_id", mux_id));
    } else if (name == "RFC_RELEASE_REQ") {
        send_air({.kind = K::rfc_release, .to = peer, .chan = chan});
        mux->second.dlcs.erase(chan);
        emit(ChipPrimitive("RFC_RELEASE_IND").set("phandle", rfc_phandle_).set("mux_id", mux_id).set("server_chan", chan));
    } else if (name == "RFC_CLOSE_REQ") {
        send_air({.kind = K::rfc_close, .to = peer});
        muxes_.erase(mux);
        emit(ChipPrimitive("RFC_CLOSE_IND").set("phandle", rfc_phandle_).set("mux_id", mux_id));
    }
}

void StackCore::rfcomm_from_air(const AirFrame& frame) {
    if (frame.kind == K::rfc_start) {
        const uint8_t id = next_mux_++;
        Mux& m = muxes_[id];
        m.peer = frame.from;
        emit(ChipPrimitive("RFC_START_IND").set("phandle", rfc_phandle_).address(frame.from).set("mux_id", id)
                 .set("sys_pars.max_frame_size", frame.result));
        return;
    }
    auto mux = std::find_if(muxes_.begin(), muxes_.end(), [&](const auto& m) { return m.second.peer == frame.from; });
    if (mux == muxes_.end()) return;
    const uint8_t mux_id = mux->first;
    Mux& m = mux->second;
    auto prim = [&](std::string_view name) {
        ChipPrimitive out(name);
        out.set("phandle", rfc_phandle_).set("mux_id", mux_id).set("server_chan", frame.chan);
        return out;
    };
    switch (frame.kind) {
    case K::rfc_start_rsp:
        m.open = frame.result == 0;
        emit(prim("RFC_STARTCMP_IND").set("result_code", frame.result).set("sys_pars.max_frame_size", kDefaultFrame));
        if (!m.open) muxes_.erase(mux);
        return;
    case K::rfc_pn:
    case K::rfc_pn_rsp: {
        Dlc& dlc = m.dlcs[frame.chan];
        dlc.remote_credits = frame.result;  // what the other side grants
        emit(prim(frame.kind == K::rfc_pn ? "RFC_PARNEG_IND" : "RFC_PARNEG_CFM").set("dlc_pars.max_frame_size", frame.psm)
                 .set("dlc_pars.credit_flow_ctrl", frame.identifier).set("dlc_pars.initial_credits", frame.result));
        return;
    }
    case K::rfc_establish: {
        if (std::find(rfc_server_chans_.begin(), rfc_server_chans_.end(), frame.chan) == rfc_server_chans_.end()) {
            send_air({.kind = K::rfc_establish_rsp, .to = frame.from, .result = kRefused, .chan = frame.chan});
            return;
        }
        if (!authorised(frame, kProtocolRfcomm, frame.chan)) return;
        m.dlcs[frame.chan];
        emit(prim("RFC_ESTABLISH_IND"));
        return;
    }
    case K::rfc_establish_rsp: {
        emit(prim("RFC_ESTABLISH_CFM").set("result_code", frame.result));
        if (frame.result == 0) {
            Dlc& dlc = m.dlcs[frame.chan];
            dlc.open = true;
            if (!dlc.remote_credits) dlc.remote_credits = initial_credits_;
        } else {
            m.dlcs.erase(frame.chan);
        }
        return;
    }
    case K::rfc_data:
    case K::rfc_credit: {
        Dlc& dlc = m.dlcs[frame.chan];
        dlc.remote_credits = static_cast<uint16_t>(dlc.remote_credits + frame.result);
        // Credits that travel alone reach the host too, as an indication
        // without payload: a host that paces its sending by the credits the
        // other side grants learns of them no other way.
        emit(prim("RFC_DATA_IND").set("credits", frame.result).block("payload", frame.data));
        rfcomm_send_waiting(mux_id, frame.chan);
        return;
    }
    case K::rfc_test: send_air({.kind = K::rfc_test_rsp, .to = frame.from, .data = frame.data}); return;
    case K::rfc_test_rsp: emit(prim("RFC_TEST_CFM").block("test_data", frame.data)); return;
    case K::rfc_msc:
        emit(prim("RFC_CONTROL_IND").set("control_pars.modem_signal", frame.psm).set("control_pars.break_signal", frame.result));
        return;
    case K::rfc_rls: emit(prim("RFC_LINESTATUS_IND").set("error_flag", frame.psm).set("line_status", frame.result)); return;
    case K::rfc_rpn:
    case K::rfc_rpn_rsp: {
        ChipPrimitive out = prim(frame.kind == K::rfc_rpn ? "RFC_PORTNEG_IND" : "RFC_PORTNEG_CFM");
        out.set("request", frame.identifier).set("port_pars.parameter_mask", frame.psm);
        const char* fields[] = {"port_pars.port_speed", "port_pars.data_bits", "port_pars.stop_bits", "port_pars.parity",
                                "port_pars.parity_type", "port_pars.flow_ctrl_mask", "port_pars.xon", "port_pars.xoff"};
        for (size_t i = 0; i < frame.data.size() && i < std::size(fields); ++i) out.set(fields[i], frame.data[i]);
        emit(out);
        return;
    }
    case K::rfc_nsc:
        // The other side does not support a command: `psm` carries its type.
        emit(ChipPrimitive("RFC_NSC_IND").set("phandle", rfc_phandle_).set("mux_id", mux_id).set("command_type", frame.psm)
                 .set("cmd_res", 1));
        return;
    case K::rfc_fcon: emit(prim("RFC_FCON_IND")); return;
    case K::rfc_fcoff: emit(prim("RFC_FCOFF_IND")); return;
    case K::rfc_release:
        m.dlcs.erase(frame.chan);
        emit(prim("RFC_RELEASE_IND"));
        return;
    case K::rfc_close:
        muxes_.erase(mux);
        emit(ChipPrimitive("RFC_CLOSE_IND").set("phandle", rfc_phandle_).set("mux_id", mux_id));
        return;
    default: return;
    }
}

}  // namespace kestrel::sim
