// RFCOMM credit flow control towards the chip: the chip has a small buffer
// for data primitives and returns a credit for each it has finished with.
// While flow control is on, data primitives wait here until the chip's
// buffer space and primitive count allow them to go.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <span>

#include "transport/attached_primitive.h"
#include "transport/word_fifo.h"

namespace kestrel {

class RfcommFlowControl {
public:
    enum : uint16_t { kDataReq = 0x0018, kDataInd = 0x0019, kDataWriteReq = 0x001A, kTestReq = 0x0028 };
    enum class Transport { ptsp = 1, h4 = 2, usb = 3, other = 4 };

    // issue hands a primitive to the chip; forward passes a received RFCOMM
    // primitive that is not a credit on to the receive queue.
    RfcommFlowControl(Transport transport, std::function<void(AttachedPrimitive&&)> issue,
                      std::function<void(const AttachedPrimitive&)> forward);

    // The accounted size of a data primitive: its size plus its data, plus
    // the H4 tunnel's 5 bytes for every started 253.
    uint16_t accounted_size(const AttachedPrimitive& primitive, uint32_t size) const;

    // Takes a data primitive: issued at once when the chip has room and
    // nothing waits before it, queued otherwise.
    void submit(AttachedPrimitive primitive, uint32_t size);

    // Every RFCOMM primitive from the chip passes here: a credit primitive
    // (RFC_DATA_IND on mux 0xFF, server channel 0xFF, while flow control is
    // on) is consumed; anything else goes to the receive queue.
    void incoming(const AttachedPrimitive& primitive);

    // A credit primitive: RFC_DATA_IND on mux and server channel 0xFF while
    // flow control is on.
    bool is_credit(const AttachedPrimitive& primitive) const;

    // The chip's running credit total.
    void credit(uint16_t total);

    void set_buffer_size(uint32_t bytes);
    void set_max_primitive_count(uint32_t count);
    uint32_t buffer_size() const;
    uint32_t max_primitive_count() const;
    void enable();
    // Waits (up to a bound) until every queued primitive has gone and every
    // sent one has been credited, then switches off. False when the chip
    // stalled; the state is then printed.
    bool disable_and_drain();
    bool enabled() const;

    // Set when more credits came back than primitives were sent.
    bool fatal() const;
    size_t queued() const;
    size_t outstanding() const;

private:
    struct Waiting {
        AttachedPrimitive primitive;
        uint16_t size;
    };
    bool fits(uint16_t size) const;  // callers hold mutex_
    void issue_locked(AttachedPrimitive primitive, uint16_t size);
    void print_stall_report();

    const Transport transport_;
    std::function<void(AttachedPrimitive&&)> issue_;
    std::function<void(const AttachedPrimitive&)> forward_;

    mutable std::mutex mutex_;
    bool enabled_ = true;
    uint32_t buffer_size_ = 768;
    uint16_t last_credit_total_ = 0;
    uint32_t max_primitive_count_ = 1000;
    uint32_t credits_received_ = 1000;
    uint32_t primitives_sent_ = 0;
    uint32_t buffer_space_granted_ = 768;
    uint32_t bytes_sent_ = 0;
    bool fatal_ = false;
    std::deque<Waiting> queue_;
    WordFifo outstanding_sizes_{1024};  // one per primitive sent and not yet credited
};

}  // namespace kestrel
