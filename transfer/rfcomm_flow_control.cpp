#include "transfer/rfcomm_flow_control.h"

#include <string_view>
#include <thread>

#include "decode/received_primitives.h"
#include "encode/sent_primitives.h"
#include "shell/output.h"
#include "transport/channel.h"
#include "transport/platform/h4_codec.h"

namespace kestrel {
namespace {

// Where a field of an RFCOMM primitive stands, from the primitive tables;
// 0 when the table has no such field (offset 0 is always the type).
uint16_t field_offset(const PrimitiveDef* row, std::string_view name) {
    if (!row) return 0;
    for (const FieldDef& field : row->fields)
        if (field.name == name) return field.offset;
    return 0;
}

// The fields flow control reads, looked up once.
struct Offsets {
    uint16_t data_req_length, datawrite_req_length, test_req_length;
    uint16_t ind_mux_id, ind_server_chan, ind_credits;
};

const Offsets& offsets() {
    static const Offsets found = [] {
        const auto sent = [](uint16_t type, std::string_view name) {
            return field_offset(find_sent_primitive(kChannelRfcomm, type), name);
        };
        const PrimitiveDef* ind = find_received_primitive(kChannelRfcomm, RfcommFlowControl::kDataInd);
        return Offsets{sent(RfcommFlowControl::kDataReq, "payload_length"),
                       sent(RfcommFlowControl::kDataWriteReq, "payload_length"),
                       sent(RfcommFlowControl::kTestReq, "test_data_length"),
                       field_offset(ind, "mux_id"),
                       field_offset(ind, "server_chan"),
                       field_offset(ind, "credits")};
    }();
    return found;
}

uint16_t field16(const AttachedPrimitive& p, uint16_t offset) {
    return offset != 0 && offset + 2u <= p.bytes.size() ? get_le16(p.bytes.data() + offset) : 0;
}

uint8_t field8(const AttachedPrimitive& p, uint16_t offset) {
    return offset != 0 && offset < p.bytes.size() ? p.bytes[offset] : 0;
}

constexpr uint8_t kCreditMarker = 0xFF;  // mux_id and server_chan of a credit primitive

// RFC_DATA_IND on mux and server channel 0xFF, whether flow control is on or not.
bool credit_shaped(const AttachedPrimitive& p) {
    return p.type() == RfcommFlowControl::kDataInd && field8(p, offsets().ind_mux_id) == kCreditMarker &&
           field8(p, offsets().ind_server_chan) == kCreditMarker;
}

}  // namespace

RfcommFlowControl::RfcommFlowControl(Transport transport, std::function<void(AttachedPrimitive&&)> issue,
                                     std::function<void(const AttachedPrimitive&)> forward)
    : transport_(transport), issue_(std::move(issue)), forward_(std::move(forward)) {}

uint16_t RfcommFlowControl::accounted_size(const AttachedPrimitive& primitive, uint32_t size) const {
    const Offsets& at = offsets();
    switch (primitive.type()) {
    case kDataReq: size += field16(primitive, at.data_req_length); break;
    case kDataWriteReq: size += field16(primitive, at.datawrite_req_length); break;
    case kTestReq: size += field16(primitive, at.test_req_length); break;
    default: break;
    }
    // The chip counts 5 bytes for every started tunnel fragment.
    if (transport_ == Transport::h4) size += 5 * ((size + h4::kTunnelFragmentMax - 1) / h4::kTunnelFragmentMax);
    return static_cast<uint16_t>(size);
}

bool RfcommFlowControl::fits(uint16_t size) const {
    // A full list of outstanding sizes holds the primitive back too: a size
    // it could not keep would never be given back to the buffer space.
    return static_cast<int64_t>(buffer_space_granted_) - size - bytes_sent_ >= 0 &&
           static_cast<int64_t>(credits_received_) - primitives_sent_ - 1 >= 0 &&
           outstanding_sizes_.count() < kOutstandingRoom;
}

void RfcommFlowControl::issue_locked(AttachedPrimitive primitive, uint16_t size) {
    outstanding_sizes_.push(size);
    bytes_sent_ += size;
    ++primitives_sent_;
    issue_(std::move(primitive));
}

void RfcommFlowControl::submit(AttachedPrimitive primitive, uint32_t size) {
    if ((size & 0xFFFF) == 0) return;
    std::lock_guard lock(mutex_);
    if (!enabled_) {
        // Off: straight to the chip, and nothing is accounted (the chip's
        // credits for it reach the script).
        issue_(std::move(primitive));
        return;
    }
    const uint16_t accounted = accounted_size(primitive, size);
    if (queue_.empty() && fits(accounted))
        issue_locked(std::move(primitive), accounted);
    else
        queue_.push_back({std::move(primitive), accounted, next_serial_++});
}

bool RfcommFlowControl::is_credit(const AttachedPrimitive& primitive) const {
    if (!credit_shaped(primitive)) return false;
    std::lock_guard lock(mutex_);
    return enabled_;
}

void RfcommFlowControl::incoming(const AttachedPrimitive& primitive) {
    if (credit_shaped(primitive)) {
        const uint16_t total = field16(primitive, offsets().ind_credits);
        std::lock_guard lock(mutex_);
        if (enabled_) {
            credit_locked(total);
            return;
        }
        // Off, the credit goes to the script, but its running total is kept:
        // switching on again must not take the off period's credits for
        // surplus ones.
        last_credit_total_ = total;
    }
    forward_(primitive);
}

void RfcommFlowControl::credit(uint16_t total) {
    std::lock_guard lock(mutex_);
    credit_locked(total);
}

void RfcommFlowControl::credit_locked(uint16_t total) {
    const uint16_t count = static_cast<uint16_t>(total - last_credit_total_);
    last_credit_total_ = total;
    for (uint16_t i = 0; i < count; ++i) {
        ++credits_received_;
        ++credits_counted_;
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

RfcommFlowControl::DrainResult RfcommFlowControl::disable_and_drain(const std::function<bool()>& interrupted,
                                                                    std::chrono::milliseconds stall_limit) {
    // First the queue empties: the clock restarts whenever its head changes.
    // Then every sent primitive is credited: the clock restarts whenever a
    // credit arrives, since a chip that never credits would hold us too.
    using Clock = std::chrono::steady_clock;
    auto clock = Clock::now();
    bool watching_queue = true;
    uint64_t last_mark = 0;
    for (bool first = true;; first = false) {
        if (interrupted()) return DrainResult::interrupted;
        bool queue_empty;
        uint64_t mark;
        {
            std::lock_guard lock(mutex_);
            queue_empty = queue_.empty();
            if (queue_empty && outstanding_sizes_.count() == 0) {
                enabled_ = false;
                return DrainResult::drained;
            }
            mark = queue_empty ? credits_counted_ : queue_.front().serial;
        }
        if (first || queue_empty == watching_queue || mark != last_mark) {
            watching_queue = !queue_empty;
            last_mark = mark;
            clock = Clock::now();
        } else if (Clock::now() - clock > stall_limit) {
            // The chip stopped taking primitives. Report what is stuck, then
            // hold still so the state can be looked at, until Ctrl-C.
            print_stall_report();
            while (!interrupted()) std::this_thread::sleep_for(std::chrono::milliseconds(10));
            return DrainResult::interrupted;
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
    // Each size goes back onto the list after it is printed: credits that
    // come after the report still find the sizes they give back.
    for (uint32_t i = 0; i < outstanding; ++i) {
        const uint32_t size = outstanding_sizes_.pop();
        output_printf("*Prim[%d] size: %d\n", static_cast<int>(i + 1), static_cast<int>(size));
        outstanding_sizes_.push(size);
    }
    output_write("Outstanding primitives in queue:\n");
    int n = 0;
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
