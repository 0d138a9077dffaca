// What the remote peer does with the payloads of its L2CAP channels and
// RFCOMM data links: echoes them (byte for byte), sinks them, or sources
// payloads of its own. Sink and source check every payload that arrives
// against the payload sequence of Kestrel's generator, and source sends
// that sequence, each channel with its own counters from 0, so a transfer
// to or from the peer is checked at the far end like one between two hosts.
//
// Not thread-safe: the peer's lock guards it with the rest of the peer.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "transfer/payload_sequence.h"

namespace kestrel::sim {

// One channel's place in the payload sequences.
struct PayloadStream {
    uint64_t id = 0;          // tells a reopened channel from the one before
    uint32_t tx_seed = 0;     // the next payload the peer sources
    uint32_t rx_seed = 0;     // the next payload the peer expects
    uint64_t sourced = 0;     // since the last "source" word
    unsigned in_flight = 0;   // sourced frames that have not left the peer
};

class PeerPayloads {
public:
    enum class Mode : uint8_t { echo, sink, source };
    // Sourced frames a channel keeps on the air at once: enough to keep the
    // air busy, few enough that a mode change takes effect at once.
    static constexpr unsigned kInFlight = 2;

    Mode mode() const { return mode_; }
    void set_echo() { mode_ = Mode::echo; }
    void set_sink() { mode_ = Mode::sink; }
    // Every channel sources `length`-byte payloads, `count` more each (all
    // it can while nothing).
    void set_source(uint32_t length, std::optional<uint64_t> count);
    void set_payload_mode(PayloadMode mode) { payload_mode_ = mode; }
    PayloadMode payload_mode() const { return payload_mode_; }
    // The next payload sent, echoed or sourced, has its first byte flipped.
    void corrupt_next() { corrupt_next_ = true; }

    // A fresh stream for a channel that has just opened.
    PayloadStream open_stream() { return {++streams_opened_}; }
    // Zeroes the counts; the caller restarts each stream's sequences with
    // restart() (what "source" COUNT allows goes on).
    void reset_counts();
    static void restart(PayloadStream& stream);
    // Called for each "source" word, so that COUNT starts anew.
    static void restart_count(PayloadStream& stream) { stream.sourced = 0; }

    // Checks an arriving payload (sink and source; an echo is not checked).
    void receive(PayloadStream& stream, std::span<const uint8_t> data);
    // Whether the stream may source one more payload now.
    bool may_source(const PayloadStream& stream) const;
    // The stream's next sourced payload, ready to send.
    std::vector<uint8_t> source(PayloadStream& stream);
    // Every payload the peer sends passes here: counted, and flipped once
    // when asked.
    void outgoing(std::vector<uint8_t>& data);

    // "echo", "sink", "source LENGTH" or "source LENGTH COUNT".
    std::string mode_text() const;
    // "payload MODE good N bad N sent N".
    std::string counts_text() const;

    uint64_t good() const { return good_; }
    uint64_t bad() const { return bad_; }
    uint64_t sent() const { return sent_; }

private:
    Mode mode_ = Mode::echo;
    PayloadMode payload_mode_ = PayloadMode::random;
    uint32_t length_ = 0;
    std::optional<uint64_t> count_;
    bool corrupt_next_ = false;
    uint64_t streams_opened_ = 0;
    uint64_t good_ = 0;
    uint64_t bad_ = 0;
    uint64_t sent_ = 0;
};

// The payload mode of a word: "random", "seq8" or "seq16".
std::optional<PayloadMode> payload_mode_of(std::string_view word);

}  // namespace kestrel::sim
