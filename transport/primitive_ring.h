// The receive queue: one ring of self-contained records per connection.
// Receive threads push copies of what arrives; the interpreter thread takes
// records in arrival order and reads them in place until its next take.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "transport/attached_primitive.h"

namespace kestrel {

// Set by the keyboard interrupt while a script waits; a waiting take returns
// nothing. The waiting command clears it.
extern std::atomic<bool> g_wait_interrupted;

class PrimitiveRing {
public:
    // A record larger than this is refused (it could not be stored
    // contiguously behind the end of the ring).
    static constexpr uint32_t kMaxRecord = 16384;
    static constexpr uint32_t kRecordHeader = 8;  // total_size, channel

    // capacity: a power of two. timeout_seconds: the wait time-out.
    PrimitiveRing(uint32_t capacity, uint32_t timeout_seconds);
    PrimitiveRing(const PrimitiveRing&) = delete;
    PrimitiveRing& operator=(const PrimitiveRing&) = delete;

    // Stores a copy of a stack primitive and the blocks that travel with it.
    // Waits up to a second for room; a record that still does not fit, or
    // that no ring could hold, is dropped with a console message. Returns
    // whether it was stored.
    bool push(uint32_t channel, const AttachedPrimitive& primitive);
    // Stores a message without blocks (PTCMD words, VM bytes, ACL data).
    bool push(uint32_t channel, std::span<const uint8_t> message);

    // Releases the record handed out last, then waits for the next one: up
    // to the time-out when use_timeout is set, else until one arrives or the
    // ring is abandoned. The time-out bounds the silence, so it starts again
    // whenever a wake-up finds the ring empty. Null on time-out or abandon.
    const uint8_t* take(bool use_timeout, uint32_t* channel_out, uint32_t* size_out = nullptr);
    // The oldest record without taking it; null when empty.
    const uint8_t* peek(uint32_t* channel_out, uint32_t* size_out = nullptr);
    // The oldest record not yet handed out, taken when it is on `channel`
    // and `wanted` says yes to its primitive: a copy of its bytes, else
    // nothing. The transfer engines call it from any thread to consume the
    // data that arrived before their transfer ran; the record a script is
    // reading stays where it is. `wanted` runs under the queue's lock.
    std::optional<std::vector<uint8_t>> take_oldest_if(
        uint32_t channel, const std::function<bool(const uint8_t* primitive, uint32_t size)>& wanted);
    // Empties the ring; records handed out before are invalid.
    void reset();
    // Wakes a waiting take, which returns null, and makes later takes return
    // null at once until reset: the link is going away.
    void abandon();

    void set_timeout(uint32_t seconds);
    uint32_t timeout_seconds() const;

    bool abandoned() const;
    uint32_t records_waiting() const;
    uint32_t dropped() const;

private:
    uint32_t used_bytes() const;  // callers hold mutex_
    bool reserve(uint32_t total, uint32_t channel, uint16_t type, std::unique_lock<std::mutex>& lock);
    void release_pending();  // callers hold mutex_
    void skip_taken();       // callers hold mutex_: passes records taken out of turn
    uint32_t record_size(uint32_t offset) const;

    std::vector<uint8_t> buffer_;
    const uint32_t capacity_;
    uint32_t read_offset_ = 0;
    uint32_t write_offset_ = 0;
    uint32_t read_count_ = 0;
    uint32_t write_count_ = 0;
    uint32_t timeout_ms_;
    bool pending_ = false;
    bool abandoned_ = false;
    bool signalled_ = false;  // the auto-reset event
    uint32_t dropped_ = 0;
    uint32_t taken_out_of_turn_ = 0;  // records behind the head that take_oldest_if took
    mutable std::mutex mutex_;
    std::condition_variable arrived_;  // a record was committed, or abandon
    std::condition_variable released_; // the consumer made room
};

}  // namespace kestrel
