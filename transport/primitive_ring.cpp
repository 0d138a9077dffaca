#include "transport/primitive_ring.h"

#include <chrono>
#include <cstring>

#include "shell/output.h"
#include "transport/trailing_data.h"

namespace kestrel {

std::atomic<bool> g_wait_interrupted{false};

namespace {

constexpr auto kRoomWait = std::chrono::seconds(1);
constexpr auto kInterruptSlice = std::chrono::milliseconds(100);
// The channel word of a record that was taken out of turn: the next take
// passes it by.
constexpr uint32_t kTakenChannel = 0xFFFFFFFFu;

}  // namespace

PrimitiveRing::PrimitiveRing(uint32_t capacity, uint32_t timeout_seconds)
    : buffer_(capacity + kMaxRecord), capacity_(capacity), timeout_ms_(timeout_seconds * 1000u) {}

uint32_t PrimitiveRing::used_bytes() const { return (write_offset_ - read_offset_) & (capacity_ - 1); }

uint32_t PrimitiveRing::record_size(uint32_t offset) const { return get_le32(buffer_.data() + offset); }

// Waits for room for total bytes. The room must leave a gap, so that a full
// ring is never mistaken for an empty one, and the record in use stays.
bool PrimitiveRing::reserve(uint32_t total, uint32_t channel, uint16_t type, std::unique_lock<std::mutex>& lock) {
    if (total > kMaxRecord || total >= capacity_) {
        ++dropped_;
        lock.unlock();
        output_printf("Error, receive queue cannot hold a record of %u bytes: dropped channel %u primitive 0x%04x\n",
                      total, channel, type);
        return false;
    }
    auto has_room = [&] {
        bool empty = write_count_ == read_count_;
        return empty || used_bytes() + total < capacity_;
    };
    if (!released_.wait_for(lock, kRoomWait, has_room)) {
        ++dropped_;
        lock.unlock();
        output_printf("Error, receive queue full for a second: dropped channel %u primitive 0x%04x\n", channel, type);
        return false;
    }
    return true;
}

bool PrimitiveRing::push(uint32_t channel, const AttachedPrimitive& primitive) {
    const uint32_t size = static_cast<uint32_t>(primitive.bytes.size());
    const uint32_t total = kRecordHeader + size + trailing_size(channel, primitive);
    std::unique_lock lock(mutex_);
    if (!reserve(total, channel, primitive.type(), lock)) return false;
    // Records are contiguous: one that starts near the end runs on into the
    // slack behind the ring, which is as large as the largest record.
    uint8_t* record = buffer_.data() + write_offset_;
    std::memset(record, 0, total);
    put_le32(record, total);
    put_le32(record + 4, channel);
    if (size) std::memcpy(record + kRecordHeader, primitive.bytes.data(), size);
    copy_trailing_data(channel, primitive, record + kRecordHeader);
    write_offset_ = (write_offset_ + total) & (capacity_ - 1);
    ++write_count_;
    signalled_ = true;
    lock.unlock();
    arrived_.notify_one();
    return true;
}

bool PrimitiveRing::push(uint32_t channel, std::span<const uint8_t> message) {
    AttachedPrimitive plain;
    plain.bytes.assign(message.begin(), message.end());
    return push(channel, plain);
}

void PrimitiveRing::release_pending() {
    if (!pending_) return;
    read_offset_ = (read_offset_ + record_size(read_offset_)) & (capacity_ - 1);
    ++read_count_;
    pending_ = false;
    released_.notify_all();
}

void PrimitiveRing::skip_taken() {
    bool skipped = false;
    while (write_count_ != read_count_ && get_le32(buffer_.data() + read_offset_ + 4) == kTakenChannel) {
        read_offset_ = (read_offset_ + record_size(read_offset_)) & (capacity_ - 1);
        ++read_count_;
        --taken_out_of_turn_;
        skipped = true;
    }
    if (skipped) released_.notify_all();
}

const uint8_t* PrimitiveRing::take(bool use_timeout, uint32_t* channel_out, uint32_t* size_out) {
    std::unique_lock lock(mutex_);
    release_pending();
    skip_taken();
    while (write_count_ == read_count_) {
        if (abandoned_) return nullptr;
        // Waits in short slices, so that an interrupt from the keyboard
        // (g_wait_interrupted) ends a wait that would otherwise never end.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms_);
        while (!signalled_ && !abandoned_) {
            if (g_wait_interrupted.load()) return nullptr;
            auto slice = std::chrono::steady_clock::now() + kInterruptSlice;
            if (use_timeout && slice > deadline) slice = deadline;
            arrived_.wait_until(lock, slice);
            if (use_timeout && std::chrono::steady_clock::now() >= deadline && !signalled_) return nullptr;
        }
        signalled_ = false;  // auto-reset: a successful wait consumes the signal
        skip_taken();
        if (abandoned_ && write_count_ == read_count_) return nullptr;
    }
    const uint8_t* record = buffer_.data() + read_offset_;
    *channel_out = get_le32(record + 4);
    if (size_out) *size_out = record_size(read_offset_) - kRecordHeader;
    pending_ = true;
    return record + kRecordHeader;
}

const uint8_t* PrimitiveRing::peek(uint32_t* channel_out, uint32_t* size_out) {
    std::lock_guard lock(mutex_);
    release_pending();
    skip_taken();
    if (write_count_ == read_count_) return nullptr;
    const uint8_t* record = buffer_.data() + read_offset_;
    *channel_out = get_le32(record + 4);
    if (size_out) *size_out = record_size(read_offset_) - kRecordHeader;
    return record + kRecordHeader;
}

std::optional<std::vector<uint8_t>> PrimitiveRing::take_oldest_if(
    uint32_t channel, const std::function<bool(const uint8_t* primitive, uint32_t size)>& wanted) {
    std::lock_guard lock(mutex_);
    // The record a script holds counts as read already.
    uint32_t offset = read_offset_;
    uint32_t count = read_count_;
    if (pending_ && count != write_count_) {
        offset = (offset + record_size(offset)) & (capacity_ - 1);
        ++count;
    }
    while (count != write_count_ && get_le32(buffer_.data() + offset + 4) == kTakenChannel) {
        offset = (offset + record_size(offset)) & (capacity_ - 1);
        ++count;
    }
    if (count == write_count_) return std::nullopt;
    uint8_t* record = buffer_.data() + offset;
    const uint32_t size = record_size(offset) - kRecordHeader;
    if (get_le32(record + 4) != channel || !wanted(record + kRecordHeader, size)) return std::nullopt;
    std::vector<uint8_t> copy(record + kRecordHeader, record + kRecordHeader + size);
    if (offset == read_offset_ && !pending_) {
        read_offset_ = (read_offset_ + record_size(read_offset_)) & (capacity_ - 1);
        ++read_count_;
        released_.notify_all();
    } else {
        put_le32(record + 4, kTakenChannel);
        ++taken_out_of_turn_;
    }
    return copy;
}

void PrimitiveRing::reset() {
    {
        std::lock_guard lock(mutex_);
        read_offset_ = write_offset_ = 0;
        read_count_ = write_count_ = 0;
        taken_out_of_turn_ = 0;
        pending_ = false;
        abandoned_ = false;
    }
    released_.notify_all();
}

void PrimitiveRing::abandon() {
    {
        std::lock_guard lock(mutex_);
        abandoned_ = true;
    }
    arrived_.notify_all();
}

void PrimitiveRing::set_timeout(uint32_t seconds) {
    std::lock_guard lock(mutex_);
    timeout_ms_ = seconds * 1000u;
}

uint32_t PrimitiveRing::timeout_seconds() const {
    std::lock_guard lock(mutex_);
    return timeout_ms_ / 1000u;
}

bool PrimitiveRing::abandoned() const {
    std::lock_guard lock(mutex_);
    return abandoned_;
}

uint32_t PrimitiveRing::records_waiting() const {
    std::lock_guard lock(mutex_);
    return write_count_ - read_count_ - (pending_ ? 1 : 0) - taken_out_of_turn_;
}

uint32_t PrimitiveRing::dropped() const {
    std::lock_guard lock(mutex_);
    return dropped_;
}

}  // namespace kestrel
