// BNEP and TCP on the chip, small but consistent. BNEP: registering with
// flags bit 0 set connects to the remote peer's network access point; data
// to the peer's Ethernet address comes back echoed, data to the chip's own
// address is looped back, a multicast comes back as one, debug requests are
// answered with their own words. TCP: connections to the remote peer's echo
// port (7), numbered from 1 in the order they were opened; data is
// confirmed and echoed, a close is answered by the peer's close, an abort
// ends at once. Other ports are refused with an abort.
#include "sim/chip_stack.h"

namespace kestrel::sim {
namespace {

using K = AirFrame::Kind;

constexpr uint16_t kPanu = 0x1115, kNap = 0x1116;
constexpr uint16_t kConnect = 0x0001;  // BNEP_REGISTER_REQ's flag
constexpr uint16_t kBnepFree = 8;

// An Ethernet address as BNEP primitives carry it: three 16-bit words, the
// earlier byte of each pair in the high half.
std::array<uint16_t, 3> ether_of(const BdAddr& a) {
    return {static_cast<uint16_t>(a.nap), static_cast<uint16_t>(a.uap << 8 | (a.lap >> 16 & 0xFF)),
            static_cast<uint16_t>(a.lap & 0xFFFF)};
}

std::array<uint16_t, 3> words(const HostPrimitive& p, std::string_view field) {
    return {static_cast<uint16_t>(p.get(field, 0)), static_cast<uint16_t>(p.get(field, 1)), static_cast<uint16_t>(p.get(field, 2))};
}

// A BNEP frame on the air: ether type, destination and source, payload.
std::vector<uint8_t> bnep_frame(uint16_t type, const std::array<uint16_t, 3>& dst, const std::array<uint16_t, 3>& src,
                                std::span<const uint8_t> payload) {
    std::vector<uint8_t> out{uint8_t(type >> 8), uint8_t(type)};
    for (const auto* a : {&dst, &src})
        for (uint16_t w : *a) out.insert(out.end(), {uint8_t(w >> 8), uint8_t(w)});
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

}  // namespace

bool StackCore::on_bnep_tcp(const HostPrimitive& p) {
    const PrimitiveFamily family = p.row().family;
    if (family != PrimitiveFamily::bnep && family != PrimitiveFamily::tcp) return false;
    const std::string_view name = p.name();
    const auto own = ether_of(address_);
    const auto peer = ether_of(kRemotePeerAddress);
    if (name == "BNEP_REGISTER_REQ") {
        bnep_phandle_ = static_cast<uint16_t>(p.get("phandle"));
        emit(ChipPrimitive("BNEP_FLOW_IND").set("free", kBnepFree));
        if (p.get("flags") & kConnect)
            when_connected(kRemotePeerAddress, [this](bool up) {
                if (up)
                    send_air({.kind = K::bnep_connect, .to = kRemotePeerAddress, .psm = kNap, .src = kPanu});
                else
                    emit(ChipPrimitive("BNEP_CONNECT_CFM").set("status", 1));
            });
    } else if (name == "BNEP_DATA_REQ" || name == "BNEP_EXTENDED_DATA_REQ" || name == "BNEP_EXTENDED_MULTICAST_DATA_REQ") {
        const bool plain = name == "BNEP_DATA_REQ";
        const auto dst = words(p, plain ? "rem_addr" : "dst_addr");
        const auto src = plain ? own : words(p, "src_addr");
        const auto payload = p.block("mblk");
        const uint16_t type = static_cast<uint16_t>(p.get("ether_type"));
        const bool multicast = name == "BNEP_EXTENDED_MULTICAST_DATA_REQ" || (dst[0] >> 8 & 1);
        if (dst == own) {
            emit(ChipPrimitive("BNEP_LOOPBACK_DATA_IND").set("phandle", bnep_phandle_).block("mblk", {payload.begin(), payload.end()}));
        } else if (bnep_id_ && (dst == peer || multicast)) {
            send_air({.kind = K::bnep_data, .to = kRemotePeerAddress, .psm = static_cast<uint16_t>(multicast ? 1 : plain ? 0 : 2),
                      .result = static_cast<uint16_t>(p.get(plain ? "ether_type" : "id")),
                      .data = bnep_frame(type, dst, src, payload)});
        }
        emit(ChipPrimitive("BNEP_FLOW_IND").set("free", kBnepFree));
    } else if (name == "BNEP_DISCONNECT_REQ") {
        if (bnep_id_ && p.get("id") == bnep_id_) {
            send_air({K::bnep_disconnect, {}, kRemotePeerAddress});
            emit(ChipPrimitive("BNEP_DISCONNECT_IND").set("id", bnep_id_));
            emit(ChipPrimitive("BNEP_DOWN_IND").set("phandle", bnep_phandle_));
            bnep_id_ = 0;
        }
    } else if (name == "BNEP_DEBUG_REQ") {
        ChipPrimitive out("BNEP_DEBUG_IND");
        out.copy_from(p);
        emit(out);
    } else if (name == "TCP_OPEN_REQ") {
        tcp_phandle_ = static_cast<uint16_t>(p.get("phandle"));
        const uint16_t b = next_tcp_++;
        const uint16_t port = static_cast<uint16_t>(p.get("rem_port"));
        tcp_connections_[b] = port;
        when_connected(kRemotePeerAddress, [this, b, port](bool up) {
            if (up)
                send_air({.kind = K::tcp_open, .to = kRemotePeerAddress, .psm = port, .src = b});
            else
                emit(ChipPrimitive("TCP_ABORT_IND").set("phandle", tcp_phandle_).set("b_out", b));
        });
    } else if (name == "TCP_DATA_REQ") {
        const uint16_t b = static_cast<uint16_t>(p.get("b_out"));
        const auto data = p.block("data");
        if (!tcp_connections_.count(b)) {
            emit(ChipPrimitive("TCP_ABORT_IND").set("phandle", tcp_phandle_).set("b_out", b));
            return true;
        }
        send_air({.kind = K::tcp_data, .to = kRemotePeerAddress, .src = b, .data = {data.begin(), data.end()}});
        emit(ChipPrimitive("TCP_DATA_CFM").set("phandle", tcp_phandle_).set("b_out", b).set("len", static_cast<uint32_t>(data.size())));
    } else if (name == "TCP_CLOSE_REQ") {
        const uint16_t b = static_cast<uint16_t>(p.get("b"));
        if (tcp_connections_.count(b)) send_air({.kind = K::tcp_close, .to = kRemotePeerAddress, .src = b});
    } else if (name == "TCP_ABORT_REQ") {
        const uint16_t b = static_cast<uint16_t>(p.get("b"));
        if (tcp_connections_.erase(b)) {
            send_air({.kind = K::tcp_close, .to = kRemotePeerAddress, .src = b, .result = 1});
            emit(ChipPrimitive("TCP_ABORT_IND").set("phandle", tcp_phandle_).set("b_out", b));
        }
    }
    // BNEP_FLOW_REQ, BNEP_LISTEN_REQ, BNEP_IGNORE_REQ, BNEP_HCI_SWITCH_ROLE_RSP,
    // TCP_OPEN_RSP, TCP_DATA_RSP, TCP_CLOSED_RSP and TCP_ABORT_RSP are
    // accepted without an answer.
    return true;
}

void StackCore::bnep_tcp_from_air(const AirFrame& frame) {
    switch (frame.kind) {
    case K::bnep_connect_rsp: {
        if (frame.result != 0) {
            emit(ChipPrimitive("BNEP_CONNECT_CFM").set("status", frame.result));
            return;
        }
        bnep_id_ = 1;
        const auto peer = ether_of(frame.from);
        emit(ChipPrimitive("BNEP_CONNECT_CFM"));
        ChipPrimitive ind("BNEP_CONNECT_IND");
        ind.set("id", bnep_id_).set("rem_uuid", frame.psm).set("loc_uuid", frame.src);
        for (unsigned i = 0; i < 3; ++i) ind.set("rem_addr", peer[i], i);
        emit(ind);
        emit(ChipPrimitive("BNEP_UP_IND").set("phandle", bnep_phandle_).set("rem_uuid", frame.psm).set("loc_uuid", frame.src));
        return;
    }
    case K::bnep_data: {
        if (frame.data.size() < 14) return;
        const std::vector<uint8_t> payload(frame.data.begin() + 14, frame.data.end());
        if (frame.psm == 1) {
            emit(ChipPrimitive("BNEP_MULTICAST_DATA_IND").set("phandle", bnep_phandle_).block("mblk", payload));
        } else if (frame.psm == 2) {
            ChipPrimitive out("BNEP_EXTENDED_DATA_IND");
            out.set("id", frame.result).set("ether_type", uint32_t(frame.data[0] << 8 | frame.data[1]));
            for (unsigned i = 0; i < 3; ++i) {
                out.set("dst_addr", uint32_t(frame.data[2 + 2 * i] << 8 | frame.data[3 + 2 * i]), i);
                out.set("src_addr", uint32_t(frame.data[8 + 2 * i] << 8 | frame.data[9 + 2 * i]), i);
            }
            emit(out.block("mblk", payload));
        } else {
            emit(ChipPrimitive("BNEP_DATA_IND").set("phandle", bnep_phandle_).block("mblk", payload));
        }
        return;
    }
    case K::bnep_disconnect:
        if (!bnep_id_) return;
        emit(ChipPrimitive("BNEP_DISCONNECT_IND").set("id", bnep_id_).set("reason", 1));
        emit(ChipPrimitive("BNEP_DOWN_IND").set("phandle", bnep_phandle_));
        bnep_id_ = 0;
        return;
    case K::tcp_open_rsp:
        if (frame.result != 0 && tcp_connections_.erase(frame.src))
            emit(ChipPrimitive("TCP_ABORT_IND").set("phandle", tcp_phandle_).set("b_out", frame.src));
        return;
    case K::tcp_data:
        if (!tcp_connections_.count(frame.src)) return;
        emit(ChipPrimitive("TCP_DATA_IND").set("phandle", tcp_phandle_).set("b_out", frame.src).block("data", frame.data));
        return;
    case K::tcp_close:
        // The peer's close: the connection closes, then is gone.
        if (!tcp_connections_.erase(frame.src)) return;
        emit(ChipPrimitive("TCP_CLOSE_IND").set("phandle", tcp_phandle_).set("b_out", frame.src));
        emit(ChipPrimitive("TCP_CLOSED_IND").set("phandle", tcp_phandle_).set("b_out", frame.src));
        return;
    default: return;
    }
}

}  // namespace kestrel::sim
