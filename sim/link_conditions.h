// A byte-stream adapter for the chip's end of its line that makes the line
// behave like a worse one: the pace of a UART, a delay, lost and damaged
// bytes. Conditions change at run time; every method is thread-safe.
//
// Both directions are conditioned. Bytes from the host are read by a thread
// of the adapter as they arrive; bytes of the chip are queued by write() and
// written out by a second thread, so a slow or delayed line never holds up
// the chip's sender (a write waits only while a megabyte is queued).
//
// - Pace: at `baud` bytes travel at 10 bits each (start, 8 data, stop),
//   back to back; 0 is unlimited.
// - Latency: every byte arrives `latency_ms` after it would have otherwise.
// - Faults: each burst of bytes (one write of the chip, which its link makes
//   one frame or packet each; one arrival of the host's bytes) loses one of
//   its bytes with probability `drop_rate` and has one bit of one byte
//   flipped with probability `corrupt_rate`. The unit is the burst, not the
//   byte, so that a rate means about the same for short and long frames. The
//   two directions draw from their own generators, seeded from `seed`, so a
//   run repeats given the same traffic.
#pragma once

#include <chrono>
#include <condition_variable>
#include <optional>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "transport/platform/byte_stream.h"

namespace kestrel::sim {

struct LinkConditions {
    unsigned baud = 0;
    unsigned latency_ms = 0;
    double drop_rate = 0;
    double corrupt_rate = 0;
    uint32_t seed = 1;

    bool operator==(const LinkConditions&) const = default;
};

// One direction of a conditioned line: bytes wait here until the line
// would have delivered them. Time is passed in, so it is exact to test; the
// owner serialises the calls.
class LineQueue {
public:
    using Clock = std::chrono::steady_clock;

    explicit LineQueue(uint32_t seed) : random_(seed) {}
    void reseed(uint32_t seed) { random_.seed(seed); }

    // A burst of bytes handed to the line at `now`, damaged as the
    // conditions say; paced bytes follow those still on the line.
    void push(std::vector<uint8_t> bytes, Clock::time_point now, const LinkConditions& conditions);
    // The bytes due at `now`, as many as fit; the count.
    size_t take(Clock::time_point now, std::span<uint8_t> out);
    // When the next byte is due; none when nothing is queued.
    std::optional<Clock::time_point> next_due() const;

    size_t queued() const { return queued_; }
    bool empty() const { return bursts_.empty(); }
    uint64_t dropped() const { return dropped_; }
    uint64_t corrupted() const { return corrupted_; }

private:
    // Bytes due one after the other from `first_due` on, one every
    // `byte_time` (all at once when it is zero).
    struct Burst {
        std::vector<uint8_t> bytes;
        size_t taken = 0;
        Clock::time_point first_due;
        Clock::duration byte_time{};
    };

    std::deque<Burst> bursts_;
    size_t queued_ = 0;
    Clock::time_point line_free_{};  // when the last queued byte has been sent
    std::mt19937 random_;
    uint64_t dropped_ = 0;
    uint64_t corrupted_ = 0;
};

class ConditionedStream final : public ByteStream {
public:
    ConditionedStream(std::unique_ptr<ByteStream> inner, LinkConditions conditions);
    ~ConditionedStream() override;

    // Opens the inner stream and starts the adapter's threads. A closed
    // adapter does not open again.
    bool open(std::string& error) override;
    // -1 once the host has gone and every byte it sent has been read.
    long read(std::span<uint8_t> buffer, int timeout_ms) override;
    // Queues the bytes; false once the line has failed or is closed.
    bool write(std::span<const uint8_t> data) override;
    void interrupt() override;
    // Stops the threads (bytes still queued are lost, as on a cut line) and
    // closes the inner stream.
    void close() override;

    LinkConditions conditions() const;
    // Takes effect for the bytes that come after. The generators restart from
    // the seed only when the seed changes.
    void set_conditions(const LinkConditions& conditions);

    uint64_t bytes_dropped() const;
    uint64_t bytes_corrupted() const;

private:
    using Clock = LineQueue::Clock;

    void pump();   // host to chip
    void drain();  // chip to host

    const std::unique_ptr<ByteStream> inner_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    LinkConditions conditions_;
    LineQueue inbound_;
    LineQueue outbound_;
    bool started_ = false;
    bool closed_ = false;
    bool host_gone_ = false;  // the inner stream ended
    bool write_failed_ = false;
    bool interrupted_ = false;
    bool pump_started_ = false;    // a condition was set: bytes from the host pass the queue
    bool direct_reading_ = false;  // read() is in the inner stream's read
    bool direct_writing_ = false;  // write() writes straight through
    bool drain_writing_ = false;   // the drain holds bytes taken from the queue

    static bool plain(const LinkConditions& conditions);
    void start_pump();  // mutex_ held

    std::mutex close_mutex_;  // one closer joins the threads
    std::thread pump_;
    std::thread drain_;
};

}  // namespace kestrel::sim
