#include "transport/platform/h4_codec.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace kestrel::h4 {
namespace {

uint16_t get_le16(std::span<const uint8_t> bytes, size_t offset) {
    return static_cast<uint16_t>(bytes[offset] | bytes[offset + 1] << 8);
}

void put_le16(std::vector<uint8_t>& out, uint16_t value) {
    out.push_back(static_cast<uint8_t>(value));
    out.push_back(static_cast<uint8_t>(value >> 8));
}

// Where each packet type keeps its payload length; the decoder and the
// accessors walk this table instead of switching on the type.
struct Framing {
    size_t header_length;
    size_t length_offset;
    size_t length_width;  // 1 or 2 bytes, little-endian
};

constexpr std::array<Framing, 5> kFraming{{
    {0, 0, 0},                     // 0 is no packet type
    {kCommandHeaderLength, 2, 1},  // opcode, length
    {kAclHeaderLength, 2, 2},      // handle+flags, length
    {kScoHeaderLength, 2, 1},      // handle, length
    {kEventHeaderLength, 1, 1},    // code, length
}};
static_assert(kFraming.size() == kEvent + 1, "one row per packet type");

const Framing* framing_of(uint8_t type) {
    return type >= kCommand && type <= kEvent ? &kFraming[type] : nullptr;
}

size_t declared_length(const Framing& framing, std::span<const uint8_t> body) {
    return framing.length_width == 2 ? get_le16(body, framing.length_offset) : body[framing.length_offset];
}

Packet build(PacketType type, std::span<const uint8_t> leading, std::span<const uint8_t> payload) {
    const Framing& framing = kFraming[type];
    const size_t max = framing.length_width == 2 ? 0xFFFF : 0xFF;
    if (payload.size() > max) throw std::length_error("H4 payload longer than its length field allows");
    Packet packet{type, {}};
    packet.body.reserve(framing.header_length + payload.size());
    packet.body.assign(leading.begin(), leading.end());
    if (framing.length_width == 2) {
        put_le16(packet.body, static_cast<uint16_t>(payload.size()));
    } else {
        packet.body.push_back(static_cast<uint8_t>(payload.size()));
    }
    packet.body.insert(packet.body.end(), payload.begin(), payload.end());
    return packet;
}

Packet build16(PacketType type, uint16_t leading, std::span<const uint8_t> payload) {
    const uint8_t bytes[] = {static_cast<uint8_t>(leading), static_cast<uint8_t>(leading >> 8)};
    return build(type, bytes, payload);
}

bool has_header(const Packet& packet) {
    const Framing* framing = framing_of(packet.type);
    return framing && packet.body.size() >= framing->header_length;
}

std::vector<Packet> tunnel(uint8_t channel, std::span<const uint8_t> message,
                           Packet (*wrap)(std::span<const uint8_t>)) {
    if (channel > kTunnelChannelMask) throw std::out_of_range("tunnel channel above 63");
    const size_t count = tunnel_fragment_count(message.size());
    std::vector<Packet> packets;
    packets.reserve(count);
    std::vector<uint8_t> block;
    for (size_t i = 0; i < count; ++i) {
        const auto part = message.subspan(i * kTunnelFragmentMax,
                                          std::min(kTunnelFragmentMax, message.size() - i * kTunnelFragmentMax));
        uint8_t descriptor = channel;
        if (i == 0) descriptor |= kTunnelFirstFragment;
        if (i + 1 == count) descriptor |= kTunnelLastFragment;
        block.assign(1, descriptor);
        block.insert(block.end(), part.begin(), part.end());
        packets.push_back(wrap(block));
    }
    return packets;
}

}  // namespace

std::vector<uint8_t> encode(PacketType type, std::span<const uint8_t> body) {
    std::vector<uint8_t> wire;
    wire.reserve(1 + body.size());
    wire.push_back(type);
    wire.insert(wire.end(), body.begin(), body.end());
    return wire;
}

std::vector<uint8_t> encode(const Packet& packet) { return encode(packet.type, packet.body); }

Packet command(uint16_t opcode, std::span<const uint8_t> params) { return build16(kCommand, opcode, params); }

Packet event(uint8_t code, std::span<const uint8_t> params) {
    const uint8_t leading[] = {code};
    return build(kEvent, leading, params);
}

Packet acl(uint16_t handle_flags, std::span<const uint8_t> data) { return build16(kAcl, handle_flags, data); }

Packet sco(uint16_t handle, std::span<const uint8_t> data) { return build16(kSco, handle, data); }

uint16_t command_opcode(const Packet& packet) {
    return packet.type == kCommand && has_header(packet) ? get_le16(packet.body, 0) : 0;
}

uint8_t event_code(const Packet& packet) {
    return packet.type == kEvent && has_header(packet) ? packet.body[0] : 0;
}

uint16_t handle_field(const Packet& packet) {
    return (packet.type == kAcl || packet.type == kSco) && has_header(packet) ? get_le16(packet.body, 0) : 0;
}

std::span<const uint8_t> payload(const Packet& packet) {
    if (!has_header(packet)) return {};
    const size_t header = kFraming[packet.type].header_length;
    return std::span<const uint8_t>(packet.body).subspan(header);
}

void Decoder::feed(std::span<const uint8_t> bytes, const PacketHandler& on_packet,
                   const BadTypeHandler& on_bad_type) {
    size_t i = 0;
    while (i < bytes.size()) {
        if (!in_packet_) {
            const uint8_t byte = bytes[i++];
            const Framing* framing = framing_of(byte);
            if (!framing) {
                if (!in_garbage_ && on_bad_type) on_bad_type(byte);
                in_garbage_ = true;
                continue;
            }
            in_garbage_ = false;
            in_packet_ = true;
            header_done_ = false;
            type_ = static_cast<PacketType>(byte);
            expected_ = framing->header_length;
            body_.clear();
            continue;
        }
        const size_t take = std::min(expected_ - body_.size(), bytes.size() - i);
        body_.insert(body_.end(), bytes.begin() + i, bytes.begin() + i + take);
        i += take;
        if (body_.size() < expected_) continue;
        if (!header_done_) {
            header_done_ = true;
            expected_ += declared_length(kFraming[type_], body_);
            if (body_.size() < expected_) continue;
        }
        in_packet_ = false;
        Packet packet{type_, std::move(body_)};
        body_ = {};
        if (on_packet) on_packet(std::move(packet));
    }
}

std::vector<Packet> tunnel_to_chip(uint8_t channel, std::span<const uint8_t> message) {
    return tunnel(channel, message, [](std::span<const uint8_t> block) { return command(kTunnelOpcode, block); });
}

std::vector<Packet> tunnel_to_host(uint8_t channel, std::span<const uint8_t> message) {
    return tunnel(channel, message, [](std::span<const uint8_t> block) { return event(kTunnelEventCode, block); });
}

bool is_tunnel_command(const Packet& packet) {
    return command_opcode(packet) == kTunnelOpcode;
}

bool is_tunnel_event(const Packet& packet) {
    return event_code(packet) == kTunnelEventCode;
}

std::optional<std::span<const uint8_t>> tunnel_block(const Packet& packet) {
    if (!is_tunnel_command(packet) && !is_tunnel_event(packet)) return std::nullopt;
    return payload(packet);
}

std::optional<TunnelMessage> TunnelReassembler::feed(std::span<const uint8_t> block) {
    if (block.empty()) {
        ++dropped_;
        return std::nullopt;
    }
    const uint8_t descriptor = block[0];
    const uint8_t channel = descriptor & kTunnelChannelMask;
    const bool first = descriptor & kTunnelFirstFragment;
    const bool last = descriptor & kTunnelLastFragment;
    const auto data = block.subspan(1);

    if (first) {
        if (state_ == State::kCollecting) ++dropped_;
        state_ = State::kCollecting;
        channel_ = channel;
        partial_.assign(data.begin(), data.end());
    } else if (state_ == State::kCollecting && channel == channel_) {
        partial_.insert(partial_.end(), data.begin(), data.end());
    } else if (state_ == State::kSkippingOrphan && channel == channel_) {
        if (last) state_ = State::kIdle;
        return std::nullopt;
    } else {
        // An orphan: the partial message (if any) and the orphan's own
        // message are both lost.
        if (state_ == State::kCollecting) ++dropped_;
        ++dropped_;
        partial_.clear();
        channel_ = channel;
        state_ = last ? State::kIdle : State::kSkippingOrphan;
        return std::nullopt;
    }
    if (!last) return std::nullopt;
    state_ = State::kIdle;
    TunnelMessage message{channel_, std::move(partial_)};
    partial_ = {};
    return message;
}

}  // namespace kestrel::h4
