// H4 framing (a type byte before each command, ACL, SCO or event packet) and
// the vendor tunnel that carries Petrel messages inside vendor commands and
// events. Pure and single-threaded: no I/O, no clocks, no locks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace kestrel::h4 {

enum PacketType : uint8_t { kCommand = 1, kAcl = 2, kSco = 3, kEvent = 4 };

// Header bytes after the type byte: command = opcode 2 + length 1,
// ACL = handle/flags 2 + length 2, SCO = handle 2 + length 1,
// event = code 1 + length 1.
inline constexpr size_t kCommandHeaderLength = 3;
inline constexpr size_t kAclHeaderLength = 4;
inline constexpr size_t kScoHeaderLength = 3;
inline constexpr size_t kEventHeaderLength = 2;

// body = every byte after the type byte, header included. This is also what
// a USB controller carries (control transfers, interrupt endpoint), which have
// no type byte.
struct Packet {
    PacketType type;
    std::vector<uint8_t> body;
};

// Wire bytes: the type byte, then the body as it is.
std::vector<uint8_t> encode(PacketType type, std::span<const uint8_t> body);
std::vector<uint8_t> encode(const Packet& packet);

// Builders. They throw std::length_error when the payload does not fit the
// length field (255 bytes; 65535 for ACL data): a caller's mistake that a
// truncated length would turn into a desynchronised stream.
Packet command(uint16_t opcode, std::span<const uint8_t> params);
Packet event(uint8_t code, std::span<const uint8_t> params);
Packet acl(uint16_t handle_flags, std::span<const uint8_t> data);
Packet sco(uint16_t handle, std::span<const uint8_t> data);

// Accessors. A packet from Decoder always holds its whole header; on a
// hand-built packet too short for one they answer 0 or an empty span.
uint16_t command_opcode(const Packet& packet);
uint8_t event_code(const Packet& packet);
uint16_t handle_field(const Packet& packet);  // ACL handle+flags, SCO handle
// The bytes after the header (parameters or data), bounded by the body.
std::span<const uint8_t> payload(const Packet& packet);

// Incremental H4 decoder, fed arbitrary chunks: a packet may be split anywhere
// and a chunk may hold several packets.
//
// Resynchronisation: wherever a packet must start, a byte other than 0x01-0x04
// is garbage. The first garbage byte of a run is reported through on_bad_type;
// the bytes after it are skipped silently up to the next byte 0x01-0x04, which
// starts a packet and ends the run. H4 has no other framing to lean on, so a
// garbage byte that happens to be 0x01-0x04 starts a packet that is taken as
// read; the run of garbage after it is then a new one and reported again.
class Decoder {
public:
    using PacketHandler = std::function<void(Packet)>;
    using BadTypeHandler = std::function<void(uint8_t)>;

    // The decoder's state is settled before each callback, so a handler may
    // feed the decoder again.
    void feed(std::span<const uint8_t> bytes, const PacketHandler& on_packet,
              const BadTypeHandler& on_bad_type);

    // True while a packet has started and is not complete.
    bool mid_packet() const { return in_packet_; }

private:
    bool in_packet_ = false;
    bool header_done_ = false;
    bool in_garbage_ = false;
    PacketType type_ = kCommand;
    size_t expected_ = 0;  // body bytes needed for the next step
    std::vector<uint8_t> body_;
};

// The vendor tunnel. Each fragment is a parameter block: a descriptor byte,
// then at most kTunnelFragmentMax bytes of the message.
inline constexpr uint16_t kTunnelOpcode = 0xFC00;   // host to chip
inline constexpr uint8_t kTunnelEventCode = 0xFF;   // chip to host
inline constexpr uint8_t kTunnelLastFragment = 0x80;
inline constexpr uint8_t kTunnelFirstFragment = 0x40;
inline constexpr uint8_t kTunnelChannelMask = 0x3F;
inline constexpr size_t kTunnelFragmentMax = 253;

// An empty message still travels, as one fragment that is first and last.
constexpr size_t tunnel_fragment_count(size_t message_length) {
    return message_length == 0 ? 1 : (message_length + kTunnelFragmentMax - 1) / kTunnelFragmentMax;
}
// Bytes added on the line per fragment: type + header + descriptor.
constexpr size_t tunnel_command_overhead(size_t message_length) {
    return tunnel_fragment_count(message_length) * (1 + kCommandHeaderLength + 1);
}
constexpr size_t tunnel_event_overhead(size_t message_length) {
    return tunnel_fragment_count(message_length) * (1 + kEventHeaderLength + 1);
}
// The flow control accounts in the host-to-chip direction.
constexpr size_t tunnel_overhead(size_t message_length) {
    return tunnel_command_overhead(message_length);
}

// Cut a message into vendor commands or vendor events. A channel above 63
// cannot be carried by the descriptor: std::out_of_range.
std::vector<Packet> tunnel_to_chip(uint8_t channel, std::span<const uint8_t> message);
std::vector<Packet> tunnel_to_host(uint8_t channel, std::span<const uint8_t> message);

bool is_tunnel_command(const Packet& packet);
bool is_tunnel_event(const Packet& packet);
// The parameter block of a vendor command or vendor event; nullopt for any
// other packet. The span points into the packet.
std::optional<std::span<const uint8_t>> tunnel_block(const Packet& packet);

struct TunnelMessage {
    uint8_t channel;
    std::vector<uint8_t> bytes;
};

// Joins the parameter blocks of one direction again. Fragments of one message
// arrive in order and are not interleaved with other messages; anything else
// loses messages, and dropped() counts each one lost:
// - a first fragment while a message is incomplete drops the partial message
//   and starts the new one;
// - a continuation on another channel than the partial message drops the
//   partial message, and is itself an orphan (below);
// - a continuation with no message started is an orphan: its message is
//   counted once, and its further continuations on that channel are skipped
//   up to its last fragment or the next first fragment;
// - a block without a descriptor byte is counted and leaves any partial
//   message alone.
class TunnelReassembler {
public:
    // The whole message once its last fragment arrives, else nullopt.
    std::optional<TunnelMessage> feed(std::span<const uint8_t> block);

    size_t dropped() const { return dropped_; }

private:
    enum class State { kIdle, kCollecting, kSkippingOrphan };
    State state_ = State::kIdle;
    uint8_t channel_ = 0;
    std::vector<uint8_t> partial_;
    size_t dropped_ = 0;
};

}  // namespace kestrel::h4
