// RFCOMM credit flow control towards the chip: the chip has a small buffer
// for data primitives and returns a credit for each it has finished with.
// While flow control is on, data primitives wait here until the chip's
// buffer space and primitive count allow them to go.
#pragma once

#include <chrono>
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
    // How long the queue head (then the credit count) may stand still before
    // the drain reports a stall.
    static constexpr std::chrono::milliseconds kStallLimit{30000};

    // issue hands a primitive to the chip; forward passes a received RFCOMM
    // primitive that is not a credit on to the receive queue.
    RfcommFlowControl(Transport transport, std::function<void(AttachedPrimitive&&)> issue,
                      std::function<void(const AttachedPrimitive&)> forward);

    // The accounted size of a data primitive: its size plus its data, plus
    // the H4 tunnel's 5 bytes for every started 253.
    uint16_t accounted_size(const AttachedPrimitive& primitive, uint32_t size) const;

    // Takes a data primitive: issued at once when the chip has room and
    // nothing waits before it, queued otherwise. A size whose low 16 bits are
    // 0 is ignored.
    void submit(AttachedPrimitive primitive, uint32_t size);

    // A credit primitive: flow control on, RFC_DATA_IND on mux 0xFF and
    // server channel 0xFF.
    bool is_credit(const AttachedPrimitive& primitive) const;

    // Every RFCOMM primitive from the chip passes here: a credit primitive is
    // consumed; anything else goes to the receive queue.
    void incoming(const AttachedPrimitive& primitive);

    // The chip's running credit total.
    void credit(uint16_t total);

    void set_buffer_size(uint32_t bytes);
    void set_max_primitive_count(uint32_t count);
    uint32_t buffer_size() const;
    uint32_t max_primitive_count() const;
    void enable();

    // Waits until every queued primitive has gone and every sent one has
    // been credited, then switches flow control off (drained). When the
    // chip stalls for stall_limit, the state is printed and the wait goes
    // on until interrupted() answers true: flow control then stays on.
    enum class DrainResult { drained, interrupted };
    DrainResult disable_and_drain(const std::function<bool()>& interrupted,
                                  std::chrono::milliseconds stall_limit = kStallLimit);
    bool enabled() const;

    // Set when more credits came back than primitives were sent.
    bool fatal() const;
    size_t queued() const;
    size_t outstanding() const;

private:
    // rfcprim_node: a primitive waiting for the chip, with its accounted size.
    struct Waiting {
        AttachedPrimitive primitive;
        uint16_t size;
        uint64_t serial;  // tells one queue head from the next
    };
    // The outstanding sizes' ring holds two words fewer than its capacity.
    static constexpr uint32_t kOutstandingCapacity = 1024;
    static constexpr uint32_t kOutstandingRoom = kOutstandingCapacity - 2;

    bool fits(uint16_t size) const;  // callers hold mutex_
    void issue_locked(AttachedPrimitive primitive, uint16_t size);
    void credit_locked(uint16_t total);
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
    uint64_t next_serial_ = 1;
    uint64_t credits_counted_ = 0;  // every credit ever counted: the drain's sign of life
    std::deque<Waiting> queue_;
    WordFifo outstanding_sizes_{kOutstandingCapacity};  // one per primitive sent and not yet credited
};

}  // namespace kestrel
