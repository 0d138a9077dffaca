// PTSP, the framed and reliable serial protocol to a Petrel chip: the frame
// codec (SLIP framing, a 4-byte header, a CRC) and the link that establishes
// the connection and keeps the reliable window. Pure and single-threaded: no
// I/O, no locks; time comes in as a wrapping 32-bit millisecond clock. The
// owner serialises every call on one Link and sleeps until next_deadline_ms().
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <span>
#include <vector>

namespace kestrel::ptsp {

inline constexpr size_t kMaxPayload = 4095;
inline constexpr uint8_t kAckChannel = 0;
inline constexpr uint8_t kLinkChannel = 1;  // link establishment
inline constexpr uint8_t kMaxChannel = 15;
inline constexpr size_t kWindow = 4;        // unacknowledged reliable packets
inline constexpr uint32_t kRetryMs = 250;   // SYNC/CONF period and resend delay

// Link establishment payloads, carried unreliably on kLinkChannel.
using LinkMessage = std::array<uint8_t, 4>;
inline constexpr LinkMessage kSync{0xDA, 0xDC, 0xED, 0xED};
inline constexpr LinkMessage kSyncResp{0xAC, 0xAF, 0xEF, 0xEE};
inline constexpr LinkMessage kConf{0xAD, 0xEF, 0xAC, 0xED};
inline constexpr LinkMessage kConfResp{0xDE, 0xAD, 0xD0, 0xD0};

// The CRC register (least significant bit first, initial 0xFFFF, no final
// XOR) before its bits are reversed; "123456789" gives 0x6F91.
uint16_t crc_register(std::span<const uint8_t> bytes);
// The value that travels after the payload, high byte first.
uint16_t crc_on_wire(std::span<const uint8_t> bytes);

struct Packet {
    uint8_t seq = 0;      // 0-7
    uint8_t ack = 0;      // 0-7: the next sequence number expected
    bool reliable = false;
    bool has_crc = true;
    uint8_t channel = 0;  // 0-15
    std::vector<uint8_t> payload;

    bool operator==(const Packet&) const = default;
};

// One whole frame, 0xC0 at both ends. seq, ack and channel are masked to
// their fields; a payload over kMaxPayload throws std::length_error.
std::vector<uint8_t> encode_frame(const Packet& packet);
// The same frame appended to `out`, whose buffer a caller can keep.
void append_frame(const Packet& packet, std::vector<uint8_t>& out);

// Incremental decoder, fed arbitrary chunks. Bytes before the first 0xC0 are
// skipped; after it, whatever lies between two 0xC0 is a frame candidate, so
// garbage between frames counts as one dropped frame. Empty frames are
// ignored. Candidates with a bad escape, header checksum, length or CRC are
// dropped and counted. The state is settled before each callback; the
// packet passed to it is the decoder's own, valid until the callback returns.
class FrameDecoder {
public:
    using PacketHandler = std::function<void(const Packet&)>;

    void feed(std::span<const uint8_t> bytes, const PacketHandler& on_packet);
    void reset();  // forget a partial frame and hunt for the next 0xC0
    uint64_t dropped() const { return dropped_; }

private:
    void end_frame(const PacketHandler& on_packet);
    void keep(const uint8_t* bytes, size_t count);  // or mark the frame overlong

    std::vector<uint8_t> frame_;  // unescaped bytes of the current candidate
    Packet packet_;               // the last one decoded; its buffer is reused
    bool hunting_ = true;
    bool escaped_ = false;
    bool bad_ = false;            // bad escape or overlong: dropped at its end
    uint64_t dropped_ = 0;
};

// Link establishment and the reliable window, the same for host and chip.
//
// Acknowledgement: every packet written carries the current ACK. After each
// receive() call that brought reliable packets (new, duplicate or out of
// order), an ack-only packet is written unless a data packet written since
// the last of them (a window that opened, or a send() from the deliver
// callback) already carried the ack. So a batch of frames read together costs
// one acknowledgement, and none at all when data goes back.
//
// Peer reset (a SYNC while garrulous) and start(): sequence numbers return to
// 0, and packets not yet acknowledged go back to the head of the queue, to be
// sent again with new numbers once the link is garrulous. Data may so arrive
// twice across a reset, but none that was accepted by send() is lost.
//
// Unreliable packets from the link carry seq 0. Packets other than link
// establishment are ignored until garrulous: the peer sends them again.
class Link {
public:
    enum class State { down, shy, curious, garrulous };

    // Called synchronously from the call that causes them. write gets whole
    // frames and must not call back into the Link; the others may call send().
    // Only write is required.
    struct Callbacks {
        std::function<void(std::span<const uint8_t> frame)> write;
        std::function<void(uint8_t channel, std::span<const uint8_t> payload)> deliver;
        std::function<void()> on_link_up;
        std::function<void()> on_peer_reset;
    };

    explicit Link(Callbacks callbacks);

    // Enter shy: SYNC now and every kRetryMs. Also a restart (see above).
    void start(uint32_t now_ms);
    // Bytes read from the line, any chunking. Ignored before start().
    void receive(std::span<const uint8_t> bytes, uint32_t now_ms);
    // Reliable data on channels 2-15, copied; queued without limit, written
    // as the window opens once garrulous. Never waits. std::invalid_argument
    // for channels 0, 1 and above 15, std::length_error above kMaxPayload.
    void send(uint8_t channel, std::span<const uint8_t> payload, uint32_t now_ms);
    // How long an acknowledgement may wait for data to ride on before it
    // goes out alone (0, the default: at the end of the receive that owes
    // it). A host whose scripts answer quickly saves a frame each way. It
    // never waits once kWindow reliable packets are owed: the peer's window
    // is full.
    void set_ack_delay(uint32_t ms) { ack_delay_ms_ = ms; }
    // Runs the timers that are due.
    void tick(uint32_t now_ms);
    // When tick() is next needed; kIdleMs after the last call when nothing is
    // timed. Ask again after every call: send() can bring it forward.
    uint32_t next_deadline_ms() const;
    static constexpr uint32_t kIdleMs = 1000;

    State state() const { return state_; }
    bool garrulous() const { return state_ == State::garrulous; }
    size_t unacknowledged() const { return unacked_.size(); }
    size_t waiting() const { return waiting_.size(); }

    uint64_t retransmissions() const { return retransmissions_; }
    uint64_t duplicates_dropped() const { return duplicates_dropped_; }
    uint64_t frames_dropped() const { return decoder_.dropped(); }
    uint64_t peer_resets() const { return peer_resets_; }

private:
    struct Outgoing {
        Packet packet;
        uint32_t sent_ms = 0;
    };

    void handle(const Packet& packet);
    void handle_link_message(const Packet& packet);
    void take_ack(uint8_t ack);
    void fill_window();
    void restart_sequences();
    void enter_establishing(State state);
    void write_control(std::span<const uint8_t> payload);
    void write_packet(Packet& packet);
    void write_ack_only();

    Callbacks callbacks_;
    FrameDecoder decoder_;
    State state_ = State::down;
    uint32_t now_ = 0;
    uint32_t next_control_ms_ = 0;  // next SYNC or CONF
    uint8_t next_seq_ = 0;
    uint8_t expected_seq_ = 0;
    bool ack_owed_ = false;
    size_t owed_packets_ = 0;  // reliable packets received since an ack went out
    uint32_t ack_delay_ms_ = 0;
    uint32_t ack_due_ms_ = 0;  // when an owed acknowledgement goes out alone
    std::deque<Outgoing> unacked_;  // in sequence order
    std::deque<Outgoing> waiting_;
    // Payload buffers of acknowledged packets, for the next sends, and the
    // buffer each frame is encoded into: no allocation per message.
    std::vector<std::vector<uint8_t>> spare_;
    std::vector<uint8_t> frame_;
    uint64_t retransmissions_ = 0;
    uint64_t duplicates_dropped_ = 0;
    uint64_t peer_resets_ = 0;
};

}  // namespace kestrel::ptsp
