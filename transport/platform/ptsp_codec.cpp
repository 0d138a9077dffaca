#include "transport/platform/ptsp_codec.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

namespace kestrel::ptsp {
namespace {

constexpr uint8_t kEnd = 0xC0;
constexpr uint8_t kEsc = 0xDB;
constexpr uint8_t kEscEnd = 0xDC;
constexpr uint8_t kEscEsc = 0xDD;

constexpr uint8_t kSeqMask = 0x07;
constexpr unsigned kAckShift = 3;
constexpr uint8_t kCrcFlag = 0x40;
constexpr uint8_t kReliableFlag = 0x80;
constexpr size_t kHeaderLength = 4;
constexpr size_t kCrcLength = 2;
constexpr size_t kMaxFrame = kHeaderLength + kMaxPayload + kCrcLength;

uint8_t next_seq(uint8_t seq) { return (seq + 1) & kSeqMask; }

// The clock wraps; a signed difference orders times less than 2^31 ms apart.
bool reached(uint32_t now, uint32_t deadline) { return static_cast<int32_t>(now - deadline) >= 0; }

uint16_t get_be16(std::span<const uint8_t> bytes, size_t at) {
    return static_cast<uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

// Writes the byte at `out`, escaped; past what was written.
uint8_t* put_escaped(uint8_t* out, uint8_t byte) {
    if (byte == kEnd) {
        *out++ = kEsc;
        *out++ = kEscEnd;
    } else if (byte == kEsc) {
        *out++ = kEsc;
        *out++ = kEscEsc;
    } else {
        *out++ = byte;
    }
    return out;
}

// A frame candidate, unescaped, without its delimiters, into `packet`
// (whose payload buffer is reused). False when it is no frame.
bool parse_frame(std::span<const uint8_t> bytes, Packet& packet) {
    if (bytes.size() < kHeaderLength) return false;
    if (static_cast<uint8_t>(bytes[0] + bytes[1] + bytes[2] + bytes[3]) != 0xFF) return false;
    const size_t length = bytes[1] >> 4 | size_t{bytes[2]} << 4;
    const bool has_crc = (bytes[0] & kCrcFlag) != 0;
    const size_t body = kHeaderLength + length;
    if (bytes.size() != body + (has_crc ? kCrcLength : 0)) return false;
    if (has_crc && get_be16(bytes, body) != crc_on_wire(bytes.first(body))) return false;
    packet.seq = static_cast<uint8_t>(bytes[0] & kSeqMask);
    packet.ack = static_cast<uint8_t>(bytes[0] >> kAckShift & kSeqMask);
    packet.reliable = (bytes[0] & kReliableFlag) != 0;
    packet.has_crc = has_crc;
    packet.channel = static_cast<uint8_t>(bytes[1] & 0x0F);
    packet.payload.assign(bytes.begin() + kHeaderLength, bytes.begin() + static_cast<std::ptrdiff_t>(body));
    return true;
}

bool is(const Packet& packet, const LinkMessage& message) {
    return std::ranges::equal(packet.payload, message);
}

}  // namespace

// The register's step for each byte value, least significant bit first
// (0x8408 is 0x1021 reversed), so that a frame costs one lookup a byte.
constexpr std::array<uint16_t, 256> kCrcTable = [] {
    std::array<uint16_t, 256> table{};
    for (unsigned value = 0; value < 256; ++value) {
        uint16_t crc = static_cast<uint16_t>(value);
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) ? (crc >> 1) ^ 0x8408 : crc >> 1;
        table[value] = crc;
    }
    return table;
}();

namespace {

// Each byte value with its bits in reverse order.
constexpr std::array<uint8_t, 256> kReversed = [] {
    std::array<uint8_t, 256> table{};
    for (unsigned value = 0; value < 256; ++value) {
        unsigned reversed = 0;
        for (int bit = 0; bit < 8; ++bit) reversed |= (value >> bit & 1u) << (7 - bit);
        table[value] = static_cast<uint8_t>(reversed);
    }
    return table;
}();

uint16_t crc_step(uint16_t crc, std::span<const uint8_t> bytes) {
    for (uint8_t byte : bytes) crc = static_cast<uint16_t>(crc >> 8 ^ kCrcTable[(crc ^ byte) & 0xFF]);
    return crc;
}

uint16_t reverse16(uint16_t value) {
    return static_cast<uint16_t>(kReversed[value & 0xFF] << 8 | kReversed[value >> 8]);
}

}  // namespace

uint16_t crc_register(std::span<const uint8_t> bytes) { return crc_step(0xFFFF, bytes); }

uint16_t crc_on_wire(std::span<const uint8_t> bytes) { return reverse16(crc_register(bytes)); }

void append_frame(const Packet& packet, std::vector<uint8_t>& out) {
    const size_t length = packet.payload.size();
    if (length > kMaxPayload) throw std::length_error("PTSP payload longer than 4095 bytes");
    std::array<uint8_t, kHeaderLength> header{
        static_cast<uint8_t>((packet.seq & kSeqMask) | (packet.ack & kSeqMask) << kAckShift |
                             (packet.has_crc ? kCrcFlag : 0) | (packet.reliable ? kReliableFlag : 0)),
        static_cast<uint8_t>((packet.channel & 0x0F) | (length & 0x0F) << 4),
        static_cast<uint8_t>(length >> 4),
        0,
    };
    header[3] = static_cast<uint8_t>(~(header[0] + header[1] + header[2]));
    // Room for the worst case, every byte escaped; trimmed to what was written.
    const size_t start = out.size();
    out.resize(start + 2 * (kHeaderLength + length + kCrcLength) + 2);
    uint8_t* at = out.data() + start;
    *at++ = kEnd;
    for (uint8_t byte : header) at = put_escaped(at, byte);
    for (uint8_t byte : packet.payload) at = put_escaped(at, byte);
    if (packet.has_crc) {
        const uint16_t crc = reverse16(crc_step(crc_register(header), packet.payload));
        at = put_escaped(at, static_cast<uint8_t>(crc >> 8));
        at = put_escaped(at, static_cast<uint8_t>(crc));
    }
    *at++ = kEnd;
    out.resize(static_cast<size_t>(at - out.data()));
}

std::vector<uint8_t> encode_frame(const Packet& packet) {
    std::vector<uint8_t> frame;
    append_frame(packet, frame);
    return frame;
}

void FrameDecoder::feed(std::span<const uint8_t> bytes, const PacketHandler& on_packet) {
    const uint8_t* at = bytes.data();
    const uint8_t* const end = at + bytes.size();
    while (at != end) {
        const uint8_t byte = *at;
        if (byte == kEnd) {
            ++at;
            if (!hunting_) end_frame(on_packet);
            hunting_ = false;
        } else if (hunting_ || bad_) {
            // Nothing to keep before the next delimiter.
            const void* next = std::memchr(at, kEnd, static_cast<size_t>(end - at));
            at = next ? static_cast<const uint8_t*>(next) : end;
        } else if (escaped_) {
            ++at;
            escaped_ = false;
            if (byte == kEscEnd) {
                keep(&kEnd, 1);
            } else if (byte == kEscEsc) {
                keep(&kEsc, 1);
            } else {
                bad_ = true;
            }
        } else if (byte == kEsc) {
            ++at;
            escaped_ = true;
        } else {
            // A run of plain bytes is kept at once.
            const uint8_t* run_end = at + 1;
            while (run_end != end && *run_end != kEnd && *run_end != kEsc) ++run_end;
            keep(at, static_cast<size_t>(run_end - at));
            at = run_end;
        }
    }
}

void FrameDecoder::reset() {
    frame_.clear();
    hunting_ = true;
    escaped_ = false;
    bad_ = false;
}

void FrameDecoder::keep(const uint8_t* bytes, size_t count) {
    if (frame_.size() + count > kMaxFrame) {
        bad_ = true;
    } else {
        frame_.insert(frame_.end(), bytes, bytes + count);
    }
}

void FrameDecoder::end_frame(const PacketHandler& on_packet) {
    const bool bad = bad_ || escaped_;  // a frame may not end inside an escape
    const bool empty = frame_.empty();
    const bool parsed = !bad && !empty && parse_frame(frame_, packet_);
    frame_.clear();
    escaped_ = false;
    bad_ = false;
    if (parsed) {
        on_packet(packet_);
    } else if (bad || !empty) {
        ++dropped_;
    }
}

Link::Link(Callbacks callbacks) : callbacks_(std::move(callbacks)) {}

void Link::start(uint32_t now_ms) {
    now_ = now_ms;
    decoder_.reset();
    restart_sequences();
    enter_establishing(State::shy);
}

void Link::receive(std::span<const uint8_t> bytes, uint32_t now_ms) {
    now_ = now_ms;
    if (state_ == State::down) return;
    const bool owed_before = ack_owed_;
    decoder_.feed(bytes, [this](const Packet& packet) { handle(packet); });
    if (!ack_owed_) return;
    // A peer with a full window can send nothing more until acknowledged.
    if (ack_delay_ms_ == 0 || owed_packets_ >= kWindow) {
        write_ack_only();
    } else if (!owed_before) {
        ack_due_ms_ = now_ + ack_delay_ms_;
    }
}

void Link::write_ack_only() {
    Packet ack_only{.channel = kAckChannel, .payload = {}};
    write_packet(ack_only);
}

void Link::send(uint8_t channel, std::span<const uint8_t> payload, uint32_t now_ms) {
    if (channel <= kLinkChannel || channel > kMaxChannel) throw std::invalid_argument("PTSP channel not for data");
    if (payload.size() > kMaxPayload) throw std::length_error("PTSP payload longer than 4095 bytes");
    now_ = now_ms;
    std::vector<uint8_t> buffer;
    if (!spare_.empty()) {
        buffer = std::move(spare_.back());
        spare_.pop_back();
    }
    buffer.assign(payload.begin(), payload.end());
    waiting_.push_back({.packet = {.reliable = true, .channel = channel, .payload = std::move(buffer)}});
    fill_window();
}

void Link::tick(uint32_t now_ms) {
    now_ = now_ms;
    if (ack_owed_ && ack_delay_ms_ != 0 && reached(now_, ack_due_ms_)) write_ack_only();
    if (state_ == State::shy || state_ == State::curious) {
        if (reached(now_, next_control_ms_)) enter_establishing(state_);
    } else if (state_ == State::garrulous) {
        for (size_t i = 0; i < unacked_.size(); ++i) {
            Outgoing& out = unacked_[i];
            if (!reached(now_, out.sent_ms + kRetryMs)) continue;
            out.sent_ms = now_;
            ++retransmissions_;
            write_packet(out.packet);
        }
    }
}

uint32_t Link::next_deadline_ms() const {
    if (state_ == State::shy || state_ == State::curious) return next_control_ms_;
    const bool ack_timed = ack_owed_ && ack_delay_ms_ != 0;
    if (state_ != State::garrulous || unacked_.empty()) return ack_timed ? ack_due_ms_ : now_ + kIdleMs;
    uint32_t earliest = ack_timed ? ack_due_ms_ : unacked_.front().sent_ms + kRetryMs;
    for (const Outgoing& out : unacked_) {
        const uint32_t due = out.sent_ms + kRetryMs;
        if (static_cast<int32_t>(due - earliest) < 0) earliest = due;
    }
    return earliest;
}

void Link::handle(const Packet& packet) {
    if (packet.channel == kLinkChannel) {
        handle_link_message(packet);
        return;
    }
    if (state_ != State::garrulous) return;
    bool fresh = !packet.reliable;
    if (packet.reliable) {
        ack_owed_ = true;
        ++owed_packets_;
        if (packet.seq == expected_seq_) {
            expected_seq_ = next_seq(expected_seq_);
            fresh = true;
        } else {
            ++duplicates_dropped_;
        }
    }
    // After the sequence update, so that data the ack releases carries it.
    take_ack(packet.ack);
    if (fresh && packet.channel > kLinkChannel && callbacks_.deliver) callbacks_.deliver(packet.channel, packet.payload);
}

void Link::handle_link_message(const Packet& packet) {
    if (is(packet, kSync)) {
        const bool peer_reset = state_ == State::garrulous;
        if (peer_reset) {
            ++peer_resets_;
            if (callbacks_.on_peer_reset) callbacks_.on_peer_reset();
            restart_sequences();
        }
        write_control(kSyncResp);
        if (peer_reset) enter_establishing(State::shy);
    } else if (is(packet, kSyncResp)) {
        if (state_ == State::shy) enter_establishing(State::curious);
    } else if (is(packet, kConf)) {
        if (state_ == State::curious || state_ == State::garrulous) write_control(kConfResp);
    } else if (is(packet, kConfResp)) {
        if (state_ == State::curious) {
            state_ = State::garrulous;
            fill_window();
            if (callbacks_.on_link_up) callbacks_.on_link_up();
        }
    }
}

void Link::take_ack(uint8_t ack) {
    if (unacked_.empty()) return;
    // An ack outside the window (stale or corrupt past the CRC) releases nothing.
    const size_t released = (ack - unacked_.front().packet.seq) & kSeqMask;
    if (released == 0 || released > unacked_.size()) return;
    for (size_t i = 0; i < released && spare_.size() < 2 * kWindow; ++i)
        spare_.push_back(std::move(unacked_[i].packet.payload));
    unacked_.erase(unacked_.begin(), unacked_.begin() + static_cast<std::ptrdiff_t>(released));
    fill_window();
}

void Link::fill_window() {
    while (state_ == State::garrulous && unacked_.size() < kWindow && !waiting_.empty()) {
        unacked_.push_back(std::move(waiting_.front()));
        waiting_.pop_front();
        Outgoing& out = unacked_.back();
        out.packet.seq = next_seq_;
        out.sent_ms = now_;
        next_seq_ = next_seq(next_seq_);
        write_packet(out.packet);
    }
}

void Link::restart_sequences() {
    next_seq_ = 0;
    expected_seq_ = 0;
    ack_owed_ = false;
    owed_packets_ = 0;
    while (!unacked_.empty()) {
        waiting_.push_front(std::move(unacked_.back()));
        unacked_.pop_back();
    }
}

// Enters (or stays in) shy or curious and sends its message now.
void Link::enter_establishing(State state) {
    state_ = state;
    write_control(state == State::shy ? kSync : kConf);
    next_control_ms_ = now_ + kRetryMs;
}

void Link::write_control(std::span<const uint8_t> payload) {
    Packet packet{.channel = kLinkChannel, .payload = {payload.begin(), payload.end()}};
    write_packet(packet);
}

void Link::write_packet(Packet& packet) {
    packet.ack = expected_seq_;
    packet.has_crc = true;
    ack_owed_ = false;
    owed_packets_ = 0;
    frame_.clear();
    append_frame(packet, frame_);
    callbacks_.write(frame_);
}

}  // namespace kestrel::ptsp
