#include "transfer/rfcomm_flow_control.h"

#include <chrono>
#include <thread>

#include "shell/output.h"

namespace kestrel {
namespace {

constexpr auto kStallLimit = std::chrono::seconds(30);

uint16_t field16(const AttachedPrimitive& p, size_t offset) {
    return offset + 2 <= p.bytes.size() ? get_le16(p.bytes.data() + offset) : 0;
}

}  // namespace

RfcommFlowControl::RfcommFlowControl(Transport transport, std::function<void(AttachedPrimitive&&)> issue,
                                     std::function<void(const AttachedPrimitive&)> forward)
    : transport_(transport), issue_(std::move(issue)), forward_(std::move(forward)) {}

uint16_t RfcommFlowControl::accounted_size(const AttachedPrimitive& primitive, uint32_t size) const {
    switch (primitive.type()) {
    case kDataReq: size += field16(primitive, 8); break;       // payload_length
    case kDataWriteReq: size += field16(primitive, 8); break;  // length
    case kTestReq: size += field16(primitive, 6); break;       // test_data_length
    default: break;
    }
    if (transport_ == Transport::h4) size += 5 * ((size + 252) / 253);
    return static_cast<uint16_t>(size);
}

bool RfcommFlowControl::fits(uint16_t size) const {
    return static_cast<int64_t>(buffer_space_granted_) - size - bytes_sent_ >= 0 &&
           static_cast<int64_t>(credits_received_) - primitives_sent_ - 1 >= 0;
}

void RfcommFlowControl::issue_locked(AttachedPrimitive primitive, uint16_t size) {
    outstanding_sizes_.push(size);
    bytes_sent_ += size;
    ++primitives_sent_;
    issue_(std::move(primitive));
}

void RfcommFlowControl::submit(AttachedPrimitive primitive, uint32_t size) {
    std::lock_guard lock(mutex_);
    const uint16_t accounted = accounted_size(primitive, size);
    if (accounted == 0) return;
    if (!enabled_) {
        issue_(std::move(primitive));
        return;
    }
    if (queue_.empty() && fits(accounted))
        issue_locked(std::move(primitive), accounted);
    else
        queue_.push_back({std::move(primitive), accounted});
}

bool RfcommFlowControl::is_credit(const AttachedPrimitive& primitive) const {
    std::lock_guard lock(mutex_);
    return enabled_ && primitive.type() == kDataInd && primitive.bytes.size() >= 8 && primitive.bytes[4] == 0xFF &&
           primitive.bytes[5] == 0xFF;
}

void RfcommFlowControl::incoming(const AttachedPrimitive& primitive) {
    if (is_credit(primitive))
        credit(field16(primitive, 6));
    else
        forward_(primitive);
}

void RfcommFlowControl::credit(uint16_t total) {
    std::lock_guard lock(mutex_);
    const uint16_t count = static_cast<uint16_t>(total - last_credit_total_);
    last_credit_total_ = total;
    for (uint16_t i = 0; i < count; ++i) {
        ++credits_received_;
        if (outstanding_sizes_.count() == 0) {
            output_write("Possible fatal error, too many flow control credits have\n");
            output_write("been received than sent to the chip.\n");
            fatal_ = true;
            continue;
        }
        buffer_space_granted_ += outstanding_sizes_.pop();
    }
    while (!queue_.empty() && fits(queue_.front().size)) {
        Waiting next = std::move(queue_.front());
        queue_.pop_front();
        issue_locked(std::move(next.primitive), next.size);
    }
}

void RfcommFlowControl::set_buffer_size(uint32_t bytes) {
    std::lock_guard lock(mutex_);
    buffer_size_ = bytes;
    buffer_space_granted_ = bytes;
    bytes_sent_ = 0;
}

void RfcommFlowControl::set_max_primitive_count(uint32_t count) {
    std::lock_guard lock(mutex_);
    max_primitive_count_ = count;
    credits_received_ = count;
    primitives_sent_ = 0;
}

uint32_t RfcommFlowControl::buffer_size() const {
    std::lock_guard lock(mutex_);
    return buffer_size_;
}

uint32_t RfcommFlowControl::max_primitive_count() const {
    std::lock_guard lock(mutex_);
    return max_primitive_count_;
}

void RfcommFlowControl::enable() {
    std::lock_guard lock(mutex_);
    enabled_ = true;
}

bool RfcommFlowControl::enabled() const {
    std::lock_guard lock(mutex_);
    return enabled_;
}

bool RfcommFlowControl::disable_and_drain() {
    // Wait for the queue to empty, restarting the clock whenever its head
    // moves, then for every sent primitive to be credited.
    auto clock = std::chrono::steady_clock::now();
    size_t last_queued = SIZE_MAX, last_outstanding = SIZE_MAX;
    for (;;) {
        size_t queued_now, outstanding_now;
        {
            std::lock_guard lock(mutex_);
            if (!enabled_) return true;
            queued_now = queue_.size();
            outstanding_now = outstanding_sizes_.count();
            if (queued_now == 0 && outstanding_now == 0) {
                enabled_ = false;
                return true;
            }
        }
        if (queued_now != last_queued || outstanding_now != last_outstanding) {
            last_queued = queued_now;
            last_outstanding = outstanding_now;
            clock = std::chrono::steady_clock::now();
        } else if (std::chrono::steady_clock::now() - clock > kStallLimit) {
            // The chip stopped returning credits. Report what is stuck; the
            // user gets the prompt back instead of a session that hangs.
            print_stall_report();
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void RfcommFlowControl::print_stall_report() {
    output_set_mute(0);
    output_write("Internal error - failed to flush primitives after 30 secs\n");
    std::lock_guard lock(mutex_);
    output_printf("Onchip buffer space: %d\n", static_cast<int>(buffer_space_granted_ - bytes_sent_));
    const uint32_t outstanding = outstanding_sizes_.count();
    output_printf("Outstanding flow control primitives not accounted for: %d\n", static_cast<int>(outstanding));
    int n = 0;
    for (uint32_t i = 0; i < outstanding; ++i)
        output_printf("*Prim[%d] size: %d\n", ++n, static_cast<int>(outstanding_sizes_.pop()));
    output_write("Outstanding primitives in queue:\n");
    n = 0;
    for (const Waiting& w : queue_)
        output_printf("*Node[%d]: 0x%08lx, Type: 0x%04lx, Size: %d\n", ++n,
                      static_cast<unsigned long>(reinterpret_cast<uintptr_t>(&w) & 0xffffffffu),
                      static_cast<unsigned long>(w.primitive.type()), static_cast<int>(w.size));
}

bool RfcommFlowControl::fatal() const {
    std::lock_guard lock(mutex_);
    return fatal_;
}

size_t RfcommFlowControl::queued() const {
    std::lock_guard lock(mutex_);
    return queue_.size();
}

size_t RfcommFlowControl::outstanding() const {
    std::lock_guard lock(mutex_);
    return outstanding_sizes_.count();
}

}  // namespace kestrel
