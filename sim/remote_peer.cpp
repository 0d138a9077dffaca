#include "sim/remote_peer.h"

#include "sim/sdp_data.h"

namespace kestrel::sim {
namespace {

using K = AirFrame::Kind;

constexpr uint16_t kRejected = 0x0D;  // limited resources
constexpr uint16_t kAuthenticationFailure = 0x05;
constexpr uint16_t kL2PsmNotSupported = 2;
constexpr uint16_t kL2NoResources = 4;
constexpr uint8_t kSerialPortChannel = 1;
constexpr uint32_t kSerialPortRecord = 0x10000;
constexpr uint16_t kPeerCredits = 7;
constexpr uint16_t kPeerMtu = 672;

std::array<uint8_t, 16> pin_key(std::span<const uint8_t> pin, const BdAddr& a, const BdAddr& b) {
    return pairing_key(pin, a, b);
}

}  // namespace

RemotePeer::RemotePeer(Air& air) : air_(air) {}

std::shared_ptr<RemotePeer> RemotePeer::join(const std::shared_ptr<Air>& air) {
    auto peer = std::make_shared<RemotePeer>(*air);
    air->attach(kRemotePeerAddress, peer);
    return peer;
}

DeviceInfo RemotePeer::info() const {
    return {kRemotePeerAddress, 0x000104, "Petrel remote peer", true, true, 0x0C67};
}

RemotePeer::Behaviour RemotePeer::behaviour() const {
    std::lock_guard lock(mutex_);
    return behaviour_;
}

void RemotePeer::set_behaviour(const Behaviour& behaviour) {
    std::lock_guard lock(mutex_);
    behaviour_ = behaviour;
    if (behaviour.pin) paired_.clear();  // a new PIN: devices pair again
}

void RemotePeer::register_psm(uint16_t psm) {
    std::lock_guard lock(mutex_);
    psms_.insert(psm);
}

void RemotePeer::change_payloads(const PayloadChange& change) {
    std::lock_guard lock(mutex_);
    if (change.reset) {
        payloads_.reset_counts();
        for (auto& [cid, channel] : channels_) PeerPayloads::restart(channel.stream);
        for (auto& [key, dlc] : dlcs_) PeerPayloads::restart(dlc.stream);
    }
    if (change.payload) payloads_.set_payload_mode(*change.payload);
    if (change.mode == PeerPayloads::Mode::echo) payloads_.set_echo();
    if (change.mode == PeerPayloads::Mode::sink) payloads_.set_sink();
    if (change.mode == PeerPayloads::Mode::source) {
        payloads_.set_source(change.source_length, change.source_count);
        for (auto& [cid, channel] : channels_) PeerPayloads::restart_count(channel.stream);
        for (auto& [key, dlc] : dlcs_) PeerPayloads::restart_count(dlc.stream);
    }
    if (change.corrupt) payloads_.corrupt_next();
    source_everywhere();
}

PeerPayloads RemotePeer::payloads() const {
    std::lock_guard lock(mutex_);
    return payloads_;
}

std::string RemotePeer::describe() const {
    std::lock_guard lock(mutex_);
    std::string text = payloads_.mode_text();
    text += behaviour_.refuse ? " refuse" : " accept";
    text += behaviour_.pin ? " pin " + *behaviour_.pin : " nopin";
    if (behaviour_.silent) text += " silent";
    if (behaviour_.basic) text += " basic";
    text += " psms";
    char buffer[12];
    for (uint16_t psm : psms_) {
        std::snprintf(buffer, sizeof buffer, " 0x%04x", psm);
        text += buffer;
    }
    return text + "\n" + payloads_.counts_text();
}

Air::Clock::time_point RemotePeer::send(AirFrame frame) {
    frame.from = kRemotePeerAddress;
    return air_.transmit(std::move(frame));
}

void RemotePeer::send_rfcomm_waiting(const BdAddr& device, uint8_t chan) {
    Dlc& dlc = dlcs_[{device, chan}];
    while (!dlc.waiting.empty() && dlc.credits > 0) {
        --dlc.credits;
        std::vector<uint8_t> data = std::move(dlc.waiting.front());
        dlc.waiting.erase(dlc.waiting.begin());
        payloads_.outgoing(data);
        // Each echo gives back the credit for the frame it answers.
        send({.kind = K::rfc_data, .to = device, .result = 1, .chan = chan, .data = std::move(data)});
    }
}

void RemotePeer::when_left(Air::Clock::time_point left, std::function<void(RemotePeer&)> then) {
    air_.at(left, [peer = weak_from_this(), then = std::move(then)] {
        if (const auto self = peer.lock()) {
            std::lock_guard lock(self->mutex_);
            then(*self);
        }
    });
}

void RemotePeer::source_l2cap(uint16_t cid) {
    const auto found = channels_.find(cid);
    if (found == channels_.end()) return;
    Channel& channel = found->second;
    // Data only once both directions are configured, as a host would.
    if (!channel.answered || !channel.confirmed) return;
    while (payloads_.may_source(channel.stream)) {
        ++channel.stream.in_flight;
        const auto left = send({.kind = K::l2_data, .to = channel.device, .src = cid, .dst = channel.remote_cid,
                                .data = payloads_.source(channel.stream)});
        when_left(left, [cid, id = channel.stream.id](RemotePeer& peer) {
            const auto again = peer.channels_.find(cid);
            if (again == peer.channels_.end() || again->second.stream.id != id) return;
            --again->second.stream.in_flight;
            peer.source_l2cap(cid);
        });
    }
}

void RemotePeer::source_rfcomm(const BdAddr& device, uint8_t chan) {
    const auto found = dlcs_.find({device, chan});
    if (found == dlcs_.end()) return;
    send_rfcomm_waiting(device, chan);  // echoes waiting for credits go first
    Dlc& dlc = found->second;
    while (dlc.waiting.empty() && dlc.credits > 0 && payloads_.may_source(dlc.stream)) {
        --dlc.credits;
        ++dlc.stream.in_flight;
        const auto left = send({.kind = K::rfc_data, .to = device, .chan = chan, .data = payloads_.source(dlc.stream)});
        when_left(left, [device, chan, id = dlc.stream.id](RemotePeer& peer) {
            const auto again = peer.dlcs_.find({device, chan});
            if (again == peer.dlcs_.end() || again->second.stream.id != id) return;
            --again->second.stream.in_flight;
            peer.source_rfcomm(device, chan);
        });
    }
}

void RemotePeer::source_everywhere() {
    if (payloads_.mode() != PeerPayloads::Mode::source) return;
    for (const auto& [cid, channel] : channels_) source_l2cap(cid);
    for (const auto& [key, dlc] : dlcs_) source_rfcomm(key.first, key.second);
}

void RemotePeer::from_air(const AirFrame& frame) {
    std::lock_guard lock(mutex_);
    const BdAddr device = frame.from;
    switch (frame.kind) {
    case K::acl_connect:
        if (behaviour_.refuse) {
            send({.kind = K::acl_reject, .to = device, .result = kRejected});
        } else if (behaviour_.pin) {
            // Every link is authenticated: by the key of an earlier pairing,
            // or by the PIN.
            awaiting_pin_.insert(device);
            send({K::pin_request, {}, device});
        } else {
            links_.insert(device);
            send({K::acl_accept, {}, device});
        }
        return;
    case K::pin_reply: {
        const std::vector<uint8_t> pin(behaviour_.pin ? behaviour_.pin->begin() : std::string::const_iterator{},
                                       behaviour_.pin ? behaviour_.pin->end() : std::string::const_iterator{});
        const auto key = pin_key(pin, kRemotePeerAddress, device);
        const bool by_key = frame.result == 1;
        const bool ok = !behaviour_.pin ||
                        (by_key ? paired_.count(device) && std::equal(key.begin(), key.end(), frame.data.begin(), frame.data.end())
                                : frame.data == pin);
        // A pairing by PIN makes a new key, which the answer carries.
        send({.kind = K::auth_done, .to = device, .result = static_cast<uint16_t>(ok ? 0 : kAuthenticationFailure),
              .data = ok && !by_key ? std::vector<uint8_t>(key.begin(), key.end()) : std::vector<uint8_t>{}});
        if (ok) paired_.insert(device);
        if (awaiting_pin_.erase(device)) {
            if (ok) {
                links_.insert(device);
                send({K::acl_accept, {}, device});
            } else {
                send({.kind = K::acl_reject, .to = device, .result = kAuthenticationFailure});
            }
        }
        return;
    }
    case K::acl_disconnect:
        links_.erase(device);
        std::erase_if(channels_, [&](const auto& c) { return c.second.device == device; });
        std::erase_if(dlcs_, [&](const auto& d) { return d.first.first == device; });
        return;
    case K::l2_connect: {
        if (behaviour_.silent) return;
        if (behaviour_.refuse || !psms_.count(frame.psm)) {
            send({.kind = K::l2_connect_rsp, .to = device, .dst = frame.src,
                  .result = behaviour_.refuse ? kL2NoResources : kL2PsmNotSupported});
            return;
        }
        const uint16_t cid = next_cid_++;
        channels_[cid] = {device, frame.src, payloads_.open_stream()};
        send({.kind = K::l2_connect_rsp, .to = device, .src = cid, .dst = frame.src});
        // The peer configures its side of the channel too: its MTU.
        send({.kind = K::l2_config, .to = device, .src = cid, .dst = frame.src, .identifier = 1,
              .data = {0x01, 2, uint8_t(kPeerMtu), uint8_t(kPeerMtu >> 8)}});
        return;
    }
    case K::l2_config:
    case K::l2_config_rsp: {
        if (frame.kind == K::l2_config) {
            if (behaviour_.silent) return;
            send({.kind = K::l2_config_rsp, .to = device, .src = frame.dst, .dst = frame.src, .data = frame.data});
        }
        const auto channel = channels_.find(frame.dst);
        if (channel == channels_.end()) return;
        (frame.kind == K::l2_config ? channel->second.answered : channel->second.confirmed) = true;
        source_l2cap(frame.dst);
        return;
    }
    case K::l2_data: {
        const auto channel = channels_.find(frame.dst);
        if (channel == channels_.end()) return;
        if (payloads_.mode() != PeerPayloads::Mode::echo) {
            payloads_.receive(channel->second.stream, frame.data);
            return;
        }
        std::vector<uint8_t> data = frame.data;
        payloads_.outgoing(data);
        send({.kind = K::l2_data, .to = device, .src = frame.dst, .dst = channel->second.remote_cid, .data = std::move(data)});
        return;
    }
    case K::l2_connectionless:
        if (payloads_.mode() == PeerPayloads::Mode::echo) send({.kind = K::l2_connectionless, .to = device, .psm = frame.psm, .data = frame.data});
        return;
    case K::l2_disconnect:
        channels_.erase(frame.dst);
        send({.kind = K::l2_disconnect_rsp, .to = device, .src = frame.dst, .dst = frame.src});
        return;
    case K::l2_echo: send({.kind = K::l2_echo_rsp, .to = device, .data = frame.data}); return;
    case K::l2_info: {
        std::vector<uint8_t> data;
        if (frame.psm == 1) data = {0x9E, 0x02};
        send({.kind = K::l2_info_rsp, .to = device, .result = static_cast<uint16_t>(frame.psm == 1 ? 0 : 1), .data = data});
        return;
    }
    case K::rfc_start: send({.kind = K::rfc_start_rsp, .to = device, .result = behaviour_.refuse ? uint16_t{1} : uint16_t{0}}); return;
    case K::rfc_pn:
        offered_credits_[{device, frame.chan}] = frame.result;
        send({.kind = K::rfc_pn_rsp, .to = device, .psm = frame.psm, .result = kPeerCredits, .chan = frame.chan,
              .identifier = frame.identifier});
        return;
    case K::rfc_establish: {
        const bool ok = !behaviour_.refuse && frame.chan == kSerialPortChannel;
        if (ok) {
            const auto offered = offered_credits_.find({device, frame.chan});
            dlcs_[{device, frame.chan}] = {.credits = offered == offered_credits_.end() ? kPeerCredits : offered->second,
                                           .waiting = {}, .stream = payloads_.open_stream()};
        }
        send({.kind = K::rfc_establish_rsp, .to = device, .result = static_cast<uint16_t>(ok ? 0 : 1), .chan = frame.chan});
        if (ok) source_rfcomm(device, frame.chan);
        return;
    }
    case K::rfc_data:
    case K::rfc_credit: {
        const auto key = std::make_pair(device, frame.chan);
        if (!dlcs_.count(key)) return;
        Dlc& dlc = dlcs_[key];
        dlc.credits = static_cast<uint16_t>(dlc.credits + frame.result);
        if (frame.kind == K::rfc_data) {
            if (payloads_.mode() == PeerPayloads::Mode::echo) {
                dlc.waiting.push_back(frame.data);
            } else {
                payloads_.receive(dlc.stream, frame.data);
                send({.kind = K::rfc_credit, .to = device, .result = 1, .chan = frame.chan});
            }
        }
        source_rfcomm(device, frame.chan);
        return;
    }
    case K::rfc_rls:
    case K::rfc_rpn:
    case K::rfc_test:
        if (behaviour_.basic) {
            // RFCOMM's command types: RLS 0x14, RPN 0x24, Test 0x08.
            const uint16_t type = frame.kind == K::rfc_rls ? 0x14 : frame.kind == K::rfc_rpn ? 0x24 : 0x08;
            send({.kind = K::rfc_nsc, .to = device, .psm = type});
            return;
        }
        if (frame.kind == K::rfc_rpn) {
            send({.kind = K::rfc_rpn_rsp, .to = device, .psm = frame.psm, .chan = frame.chan, .identifier = frame.identifier, .data = frame.data});
        } else if (frame.kind == K::rfc_test) {
            send({.kind = K::rfc_test_rsp, .to = device, .data = frame.data});
        } else {
            AirFrame answer = frame;
            answer.to = device;
            send(answer);
        }
        return;
    case K::rfc_msc: {
        AirFrame answer = frame;
        answer.to = device;
        send(answer);
        return;
    }
    case K::rfc_release: dlcs_.erase({device, frame.chan}); return;
    case K::rfc_close: std::erase_if(dlcs_, [&](const auto& d) { return d.first.first == device; }); return;
    case K::sco_connect:
        send({.kind = K::sco_connect_rsp, .to = device, .result = behaviour_.refuse ? kRejected : uint16_t{0}});
        return;
    case K::bnep_connect:
        // A network access point: it takes a PAN user's connection.
        send({.kind = K::bnep_connect_rsp, .to = device, .psm = frame.psm, .src = frame.src,
              .result = behaviour_.refuse ? uint16_t{1} : uint16_t{0}});
        return;
    case K::bnep_data: {
        if (payloads_.mode() != PeerPayloads::Mode::echo || frame.data.size() < 14) return;
        // Back to the sender: the addresses change places, unless multicast.
        AirFrame echo = frame;
        echo.to = device;
        if (frame.psm != 1)
            for (int i = 0; i < 6; ++i) std::swap(echo.data[2 + i], echo.data[8 + i]);
        send(std::move(echo));
        return;
    }
    case K::tcp_open: {
        const bool echo_port = frame.psm == 7 && !behaviour_.refuse;
        send({.kind = K::tcp_open_rsp, .to = device, .src = frame.src, .result = static_cast<uint16_t>(echo_port ? 0 : 1)});
        return;
    }
    case K::tcp_data:
        if (payloads_.mode() == PeerPayloads::Mode::echo) send({.kind = K::tcp_data, .to = device, .src = frame.src, .data = frame.data});
        return;
    case K::tcp_close:
        if (frame.result == 0) send({.kind = K::tcp_close, .to = device, .src = frame.src});
        return;
    case K::sdp_request: {
        const sdp::Bytes records[] = {sdp::serial_port_record(kSerialPortRecord, kSerialPortChannel)};
        send({.kind = K::sdp_response, .to = device, .data = sdp::answer_request(records, frame.data)});
        return;
    }
    default: return;
    }
}

}  // namespace kestrel::sim
