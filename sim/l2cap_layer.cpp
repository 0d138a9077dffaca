// L2CAP on the chip: channels to other devices (connect with its pending and
// final responses, configuration, data, disconnection), echo and information
// requests, groups and connectionless data. A channel's frames travel on the
// air between the two devices' channel ids.
#include "sim/chip_stack.h"

#include "transport/wire_bytes.h"

namespace kestrel::sim {
namespace {

using K = AirFrame::Kind;

constexpr uint16_t kPending = 1;
constexpr uint16_t kPsmNotSupported = 2;
constexpr uint16_t kNoResources = 4;
constexpr uint16_t kConnectionlessCid = 2;
// The response time-out: short, so that scripts need not wait long.
constexpr std::chrono::milliseconds kRtx{1000};

// The configuration options of an L2CA_CONFIG_REQ as they travel on the air.
std::vector<uint8_t> config_options(const HostPrimitive& p) {
    std::vector<uint8_t> options;
    const uint32_t mask = p.get("options");
    auto u16 = [&](uint32_t v) { options.push_back(uint8_t(v)), options.push_back(uint8_t(v >> 8)); };
    auto u32 = [&](uint32_t v) { u16(v & 0xFFFF), u16(v >> 16); };
    if (mask & 1) options.insert(options.end(), {0x01, 2}), u16(p.get("in_mtu"));
    if (mask & 2) options.insert(options.end(), {0x02, 2}), u16(p.get("outflush_to"));
    if (mask & 4) {
        options.insert(options.end(), {0x03, 22, 0, static_cast<uint8_t>(p.get("outflow.service_type"))});
        for (const char* f : {"outflow.token_rate", "outflow.token_bucket", "outflow.peak_bw", "outflow.latency", "outflow.delay_var"})
            u32(p.get(f));
    }
    return options;
}

}  // namespace

void StackCore::send_l2cap_request(uint16_t cid, AirFrame frame) {
    ++l2_channels_[cid].unanswered;
    send_air(std::move(frame));
    later(kRtx, [this, cid] {
        const auto c = l2_channels_.find(cid);
        if (c == l2_channels_.end() || c->second.unanswered == 0) return;
        emit(ChipPrimitive("L2CA_TIMEOUT_IND").set("phandle", c->second.phandle).set("cid", cid));
        l2_channels_.erase(c);
    });
}

void StackCore::on_l2cap(const HostPrimitive& p) {
    const std::string_view name = p.name();
    const BdAddr peer = p.address();
    const uint16_t cid = static_cast<uint16_t>(p.get("cid"));
    const auto channel = l2_channels_.find(cid);
    const bool known = channel != l2_channels_.end();

    if (name == "L2CA_REGISTER_REQ") {
        l2_psms_[static_cast<uint16_t>(p.get("psm"))] = static_cast<uint16_t>(p.get("phandle"));
        emit(ChipPrimitive("L2CA_REGISTER_CFM").copy_from(p));
    } else if (name == "L2CA_CONNECT_REQ") {
        const uint16_t local = next_cid_++;
        const uint16_t psm = static_cast<uint16_t>(p.get("psm"));
        L2Channel& c = l2_channels_[local];
        c.peer = peer;
        c.psm = static_cast<uint16_t>(p.get("psm_local"));
        c.phandle = l2_psms_[c.psm];
        c.config["psm"] = psm;
        auto cfm = [this, peer, local, psm](uint16_t response) {
            return ChipPrimitive("L2CA_CONNECT_CFM").set("phandle", l2_channels_[local].phandle).address(peer)
                .set("cid", local).set("psm", psm).set("response", response);
        };
        emit(cfm(kPending));
        when_connected(peer, [this, peer, local, psm, cfm](bool up) {
            if (!l2_channels_.count(local)) return;
            if (up) {
                send_l2cap_request(local, {.kind = K::l2_connect, .to = peer, .psm = psm, .src = local});
                return;
            }
            emit(cfm(kNoResources));
            l2_channels_.erase(local);
        });
    } else if (name == "L2CA_CONNECT_RSP") {
        if (!known) return;
        const uint16_t response = static_cast<uint16_t>(p.get("response"));
        send_air({.kind = K::l2_connect_rsp, .to = channel->second.peer, .src = cid, .dst = channel->second.remote_cid,
                  .result = response});
        if (response == 0)
            channel->second.open = true;
        else if (response != kPending)
            l2_channels_.erase(channel);
    } else if (name == "L2CA_CONFIG_REQ") {
        if (!known) {
            emit(ChipPrimitive("L2CA_CONFIG_CFM").copy_from(p).set("response", 2));
            return;
        }
        for (const FieldDef& f : p.row().fields) channel->second.config[std::string(f.name)] = p.get(f.name);
        send_l2cap_request(cid, {.kind = K::l2_config, .to = channel->second.peer, .src = cid, .dst = channel->second.remote_cid,
                                 .identifier = next_identifier_++, .data = config_options(p)});
    } else if (name == "L2CA_CONFIG_RSP") {
        if (!known) return;
        const auto options = p.block("options");
        send_air({.kind = K::l2_config_rsp, .to = channel->second.peer, .src = cid, .dst = channel->second.remote_cid,
                  .result = static_cast<uint16_t>(p.get("response")), .data = {options.begin(), options.end()}});
    } else if (name == "L2CA_DATAWRITE_REQ") {
        const auto data = p.block("data");
        const uint32_t length = p.get("length");
        if (!known || !channel->second.open) {
            emit(ChipPrimitive("L2CA_DATAWRITE_CFM").set("phandle", known ? channel->second.phandle : 0).set("cid", cid)
                     .set("length", length).set("result", kNoResources));
            return;
        }
        L2Channel& c = channel->second;
        Air::Clock::time_point left = Air::Clock::now();
        // The chip holds one frame a channel behind the one on the air: a
        // write is confirmed when the frame before it has left, so a host
        // that writes on each confirm keeps the air busy.
        Air::Clock::time_point confirm = std::max(left, c.sending_until);
        if (c.group) {
            // Connectionless data goes to every device with a link.
            for (const auto& [address, acl] : acls_)
                left = std::max(left, send_air({.kind = K::l2_connectionless, .to = address, .psm = c.psm,
                                                .data = {data.begin(), data.end()}}));
        } else {
            left = send_air({.kind = K::l2_data, .to = c.peer, .src = cid, .dst = c.remote_cid, .data = {data.begin(), data.end()}});
            c.sending_until = left;
        }
        if (c.group) confirm = left;
        at(confirm, [this, phandle = c.phandle, cid, length] {
            emit(ChipPrimitive("L2CA_DATAWRITE_CFM").set("phandle", phandle).set("cid", cid).set("length", length));
        });
    } else if (name == "L2CA_DISCONNECT_REQ") {
        if (!known) {
            emit(ChipPrimitive("L2CA_DISCONNECT_CFM").set("cid", cid).set("result", 2));
            return;
        }
        send_air({.kind = K::l2_disconnect, .to = channel->second.peer, .src = cid, .dst = channel->second.remote_cid});
    } else if (name == "L2CA_DISCONNECT_RSP") {
        if (!known) return;
        send_air({.kind = K::l2_disconnect_rsp, .to = channel->second.peer, .src = cid, .dst = channel->second.remote_cid});
        l2_channels_.erase(channel);
    } else if (name == "L2CA_PING_REQ" || name == "L2CA_GETINFO_REQ") {
        const bool ping = name == "L2CA_PING_REQ";
        const uint16_t phandle = l2_psms_[static_cast<uint16_t>(p.get("psm_local"))];
        const auto block = p.block("data");
        std::vector<uint8_t> data(block.begin(), block.end());
        const uint16_t info_type = static_cast<uint16_t>(p.get("info_type"));
        when_connected(peer, [this, ping, phandle, peer, data, info_type](bool up) {
            if (!up) {
                emit(ChipPrimitive(ping ? "L2CA_PING_CFM" : "L2CA_GETINFO_CFM").set("phandle", phandle).set("result", kNoResources));
                return;
            }
            (ping ? pings_ : infos_)[peer].push_back(phandle);
            send_air({.kind = ping ? K::l2_echo : K::l2_info, .to = peer, .psm = info_type, .data = data});
        });
    } else if (name == "L2CA_GROUP_CREATE_REQ") {
        const uint16_t psm = static_cast<uint16_t>(p.get("psm_local"));
        const uint16_t group = next_cid_++;
        L2Channel& c = l2_channels_[group];
        c.psm = psm;
        c.phandle = l2_psms_[psm];
        c.open = c.group = true;
        emit(ChipPrimitive("L2CA_GROUP_CREATE_CFM").set("phandle", c.phandle).set("cid", group).set("psm", psm));
    } else if (name == "L2CA_GROUP_CLOSE_REQ") {
        const bool group = known && channel->second.group;
        if (group) l2_channels_.erase(channel);
        emit(ChipPrimitive("L2CA_GROUP_CLOSE_CFM").set("phandle", l2_psms_[static_cast<uint16_t>(p.get("psm_local"))])
                 .set("psm", p.get("psm_local")).set("response", group ? 0 : 1));
    } else if (name == "L2CA_ENABLE_CONNECTIONLESS_REQ" || name == "L2CA_DISABLE_CONNECTIONLESS_REQ") {
        const bool enable = name == "L2CA_ENABLE_CONNECTIONLESS_REQ";
        const uint16_t psm = static_cast<uint16_t>(p.get("psm"));
        if (enable)
            l2_connectionless_[psm] = static_cast<uint16_t>(p.get("phandle"));
        else
            l2_connectionless_.erase(psm);
        emit(ChipPrimitive(enable ? "L2CA_ENABLE_CONNECTIONLESS_CFM" : "L2CA_DISABLE_CONNECTIONLESS_CFM").set("phandle", p.get("phandle")));
        // The security manager hears which PSMs take connectionless data.
        ChipPrimitive clrx("DM_SM_L2CAP_CLRX_ENABLE_IND");
        clrx.set("phandle", sm_phandle_ ? sm_phandle_ : dm_phandle_);
        unsigned i = 0;
        for (const auto& [enabled, phandle] : l2_connectionless_)
            if (i < 10) clrx.set("psm_array", enabled, i++);
        emit(clrx);
    }
}

void StackCore::l2cap_from_air(const AirFrame& frame) {
    const auto channel = l2_channels_.find(frame.dst);
    const bool known = channel != l2_channels_.end();
    switch (frame.kind) {
    case K::l2_connect: {
        const auto registered = l2_psms_.find(frame.psm);
        if (registered == l2_psms_.end()) {
            send_air({.kind = K::l2_connect_rsp, .to = frame.from, .dst = frame.src, .result = kPsmNotSupported});
            return;
        }
        if (!authorised(frame, kProtocolL2cap, frame.psm)) return;
        const uint16_t local = next_cid_++;
        L2Channel& c = l2_channels_[local];
        c.peer = frame.from;
        c.psm = frame.psm;
        c.phandle = registered->second;
        c.remote_cid = frame.src;
        emit(ChipPrimitive("L2CA_CONNECT_IND").set("phandle", c.phandle).set("identifier", next_identifier_++)
                 .address(frame.from).set("cid", local).set("psm", frame.psm));
        return;
    }
    case K::l2_connect_rsp: {
        if (!known) return;
        L2Channel& c = channel->second;
        if (frame.result == kPending) return;
        if (c.unanswered) --c.unanswered;
        emit(ChipPrimitive("L2CA_CONNECT_CFM").set("phandle", c.phandle).address(c.peer).set("cid", frame.dst)
                 .set("psm", c.config["psm"]).set("response", frame.result));
        if (frame.result == 0) {
            c.remote_cid = frame.src;
            c.open = true;
        } else {
            l2_channels_.erase(channel);
        }
        return;
    }
    case K::l2_config: {
        if (!known) return;
        emit(ChipPrimitive("L2CA_CONFIG_IND").set("phandle", channel->second.phandle).set("cid", frame.dst)
                 .set("identifier", frame.identifier).block("options", frame.data));
        return;
    }
    case K::l2_config_rsp: {
        if (!known) return;
        if (channel->second.unanswered) --channel->second.unanswered;
        ChipPrimitive cfm("L2CA_CONFIG_CFM");
        for (const auto& [field, value] : channel->second.config) cfm.set(field, value);
        cfm.set("flush_to", channel->second.config["outflush_to"]);
        emit(cfm.set("phandle", channel->second.phandle).set("cid", frame.dst).set("response", frame.result));
        return;
    }
    case K::l2_data: {
        if (!known) return;
        emit(ChipPrimitive("L2CA_DATAREAD_IND").set("phandle", channel->second.phandle).set("cid", frame.dst)
                 .block("data", frame.data));
        if (host_flow_phandle_)
            emit(ChipPrimitive("DM_HCI_HOST_NUM_COMPLETED_PACKETS_COMPLETE").set("phandle", *host_flow_phandle_));
        return;
    }
    case K::l2_connectionless: {
        const auto enabled = l2_connectionless_.find(frame.psm);
        if (enabled == l2_connectionless_.end()) return;
        emit(ChipPrimitive("L2CA_DATAREAD_IND").set("phandle", enabled->second).set("cid", kConnectionlessCid)
                 .set("cl_psm", frame.psm).block("data", frame.data));
        return;
    }
    case K::l2_disconnect: {
        if (!known) return;
        emit(ChipPrimitive("L2CA_DISCONNECT_IND").set("phandle", channel->second.phandle).set("identifier", next_identifier_++)
                 .set("cid", frame.dst));
        return;
    }
    case K::l2_disconnect_rsp: {
        if (!known) return;
        emit(ChipPrimitive("L2CA_DISCONNECT_CFM").set("phandle", channel->second.phandle).set("cid", frame.dst));
        l2_channels_.erase(channel);
        return;
    }
    case K::l2_echo: send_air({.kind = K::l2_echo_rsp, .to = frame.from, .data = frame.data}); return;
    case K::l2_info: {
        std::vector<uint8_t> data;
        if (frame.psm == 1) data = {0x9E, 0x02};  // connectionless MTU 670
        send_air({.kind = K::l2_info_rsp, .to = frame.from, .result = static_cast<uint16_t>(frame.psm == 1 ? 0 : 1), .data = data});
        return;
    }
    case K::l2_echo_rsp:
    case K::l2_info_rsp: {
        auto& waiting = (frame.kind == K::l2_echo_rsp ? pings_ : infos_)[frame.from];
        if (waiting.empty()) return;
        const uint16_t phandle = waiting.front();
        waiting.pop_front();
        if (frame.kind == K::l2_echo_rsp)
            emit(ChipPrimitive("L2CA_PING_CFM").set("phandle", phandle).block("data", frame.data));
        else
            emit(ChipPrimitive("L2CA_GETINFO_CFM").set("phandle", phandle).set("result", frame.result).block("inf_data", frame.data));
        return;
    }
    default: return;
    }
}

}  // namespace kestrel::sim
