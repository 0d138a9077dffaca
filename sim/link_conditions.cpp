#include "sim/link_conditions.h"

#include <algorithm>

namespace kestrel::sim {
namespace {

constexpr size_t kMaxQueued = 1 << 20;
constexpr uint32_t kOutboundSeedSalt = 0x9E3779B9;  // the two directions draw differently

}  // namespace

void LineQueue::push(std::vector<uint8_t> bytes, Clock::time_point now, const LinkConditions& conditions) {
    std::uniform_real_distribution<double> chance(0.0, 1.0);
    if (!bytes.empty() && conditions.drop_rate > 0 && chance(random_) < conditions.drop_rate) {
        bytes.erase(bytes.begin() + static_cast<long>(random_() % bytes.size()));
        ++dropped_;
    }
    if (!bytes.empty() && conditions.corrupt_rate > 0 && chance(random_) < conditions.corrupt_rate) {
        bytes[random_() % bytes.size()] ^= static_cast<uint8_t>(1u << (random_() % 8));
        ++corrupted_;
    }
    if (bytes.empty()) return;
    Burst burst;
    if (conditions.baud > 0)
        burst.byte_time = std::chrono::duration_cast<Clock::duration>(
            std::chrono::nanoseconds(10'000'000'000LL / conditions.baud));
    const Clock::time_point start = std::max(now, line_free_);
    line_free_ = start + burst.byte_time * static_cast<long>(bytes.size());
    // A byte is due once its ten bits have gone, plus the latency.
    burst.first_due = start + burst.byte_time + std::chrono::milliseconds(conditions.latency_ms);
    queued_ += bytes.size();
    burst.bytes = std::move(bytes);
    bursts_.push_back(std::move(burst));
}

size_t LineQueue::take(Clock::time_point now, std::span<uint8_t> out) {
    size_t copied = 0;
    while (copied < out.size() && !bursts_.empty()) {
        Burst& burst = bursts_.front();
        size_t due = 0;
        if (now >= burst.first_due) {
            due = burst.byte_time.count() == 0
                      ? burst.bytes.size()
                      : std::min(burst.bytes.size(), static_cast<size_t>((now - burst.first_due) / burst.byte_time) + 1);
        }
        const size_t count = std::min(due - std::min(due, burst.taken), out.size() - copied);
        std::copy_n(burst.bytes.begin() + static_cast<long>(burst.taken), count, out.begin() + static_cast<long>(copied));
        copied += count;
        burst.taken += count;
        queued_ -= count;
        if (burst.taken < burst.bytes.size()) break;
        bursts_.pop_front();
    }
    return copied;
}

std::optional<LineQueue::Clock::time_point> LineQueue::next_due() const {
    if (bursts_.empty()) return std::nullopt;
    const Burst& burst = bursts_.front();
    return burst.first_due + burst.byte_time * static_cast<long>(burst.taken);
}

ConditionedStream::ConditionedStream(std::unique_ptr<ByteStream> inner, LinkConditions conditions)
    : ByteStream(inner->name()), inner_(std::move(inner)), conditions_(conditions), inbound_(conditions.seed),
      outbound_(conditions.seed ^ kOutboundSeedSalt) {}

ConditionedStream::~ConditionedStream() { close(); }

bool ConditionedStream::open(std::string& error) {
    std::lock_guard close_lock(close_mutex_);
    {
        std::lock_guard lock(mutex_);
        if (closed_) {
            error = "line closed";
            return false;
        }
        if (started_) return true;
    }
    if (!inner_->open(error)) return false;
    std::lock_guard lock(mutex_);
    started_ = true;
    if (!plain(conditions_)) start_pump();
    drain_ = std::thread(&ConditionedStream::drain, this);
    return true;
}

// A line without conditions passes bytes straight through: no thread
// stands between the host and the chip. The pump starts when a condition is
// first set, and stays.
bool ConditionedStream::plain(const LinkConditions& c) {
    return c.baud == 0 && c.latency_ms == 0 && c.drop_rate == 0 && c.corrupt_rate == 0;
}

void ConditionedStream::start_pump() {
    if (pump_started_) return;
    pump_started_ = true;
    pump_ = std::thread(&ConditionedStream::pump, this);
    inner_->interrupt();  // a direct read in progress returns, and the pump takes over
}

void ConditionedStream::close() {
    std::lock_guard close_lock(close_mutex_);
    {
        std::lock_guard lock(mutex_);
        closed_ = true;
    }
    changed_.notify_all();
    inner_->close();  // wakes the pump's read and the drain's write
    if (pump_.joinable()) pump_.join();
    if (drain_.joinable()) drain_.join();
}

void ConditionedStream::interrupt() {
    {
        std::lock_guard lock(mutex_);
        interrupted_ = true;
        if (direct_reading_) inner_->interrupt();
    }
    changed_.notify_all();
}

LinkConditions ConditionedStream::conditions() const {
    std::lock_guard lock(mutex_);
    return conditions_;
}

void ConditionedStream::set_conditions(const LinkConditions& conditions) {
    std::lock_guard lock(mutex_);
    if (conditions.seed != conditions_.seed) {
        inbound_.reseed(conditions.seed);
        outbound_.reseed(conditions.seed ^ kOutboundSeedSalt);
    }
    conditions_ = conditions;
    if (started_ && !closed_ && !plain(conditions_)) start_pump();
}

uint64_t ConditionedStream::bytes_dropped() const {
    std::lock_guard lock(mutex_);
    return inbound_.dropped() + outbound_.dropped();
}

uint64_t ConditionedStream::bytes_corrupted() const {
    std::lock_guard lock(mutex_);
    return inbound_.corrupted() + outbound_.corrupted();
}

long ConditionedStream::read(std::span<uint8_t> buffer, int timeout_ms) {
    if (buffer.empty()) return 0;
    std::unique_lock lock(mutex_);
    if (!pump_started_) {
        if (closed_ || !started_ || host_gone_) return -1;
        if (interrupted_) {
            interrupted_ = false;
            return 0;
        }
        direct_reading_ = true;
        lock.unlock();
        const long got = inner_->read(buffer, timeout_ms);
        lock.lock();
        direct_reading_ = false;
        if (got < 0) host_gone_ = true;
        // Only a pump that has started waits for a direct read to end; the
        // drain thread is not woken for every read.
        if (pump_started_) changed_.notify_all();
        return got;
    }
    const bool forever = timeout_ms < 0;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(std::max(timeout_ms, 0));
    for (;;) {
        if (closed_ || !started_) return -1;
        if (interrupted_) {
            interrupted_ = false;
            return 0;
        }
        const Clock::time_point now = Clock::now();
        if (const size_t got = inbound_.take(now, buffer); got > 0) return static_cast<long>(got);
        if (host_gone_ && inbound_.empty()) return -1;
        if (!forever && now >= deadline) return 0;
        std::optional<Clock::time_point> wake = inbound_.next_due();
        if (!forever) wake = std::min(wake.value_or(deadline), deadline);
        if (wake) {
            changed_.wait_until(lock, *wake);
        } else {
            changed_.wait(lock);
        }
    }
}

bool ConditionedStream::write(std::span<const uint8_t> data) {
    std::unique_lock lock(mutex_);
    if (plain(conditions_) && outbound_.queued() == 0 && !drain_writing_ && !direct_writing_ && started_ &&
        !closed_ && !write_failed_) {
        direct_writing_ = true;
        lock.unlock();
        const bool written = inner_->write(data);
        lock.lock();
        direct_writing_ = false;
        if (!written) write_failed_ = true;
        // Waiting for this write: a drain that holds queued bytes, and
        // writers waiting for room that must learn of a failure.
        if (!written || drain_writing_) changed_.notify_all();
        return written;
    }
    changed_.wait(lock, [&] { return closed_ || write_failed_ || outbound_.queued() < kMaxQueued; });
    if (closed_ || write_failed_ || !started_) return false;
    outbound_.push({data.begin(), data.end()}, Clock::now(), conditions_);
    changed_.notify_all();
    return true;
}

void ConditionedStream::pump() {
    std::vector<uint8_t> buffer(4096);
    {
        // The direct reader finishes its read before the pump reads, so
        // bytes keep their order.
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return !direct_reading_ || closed_; });
        if (closed_) return;
    }
    for (;;) {
        const long got = inner_->read(buffer, -1);
        std::lock_guard lock(mutex_);
        if (closed_) return;
        if (got < 0) {
            host_gone_ = true;
            changed_.notify_all();
            return;
        }
        if (got == 0) continue;
        inbound_.push({buffer.begin(), buffer.begin() + got}, Clock::now(), conditions_);
        changed_.notify_all();
    }
}

void ConditionedStream::drain() {
    std::vector<uint8_t> chunk(4096);
    std::unique_lock lock(mutex_);
    for (;;) {
        if (closed_) return;
        const size_t got = outbound_.take(Clock::now(), chunk);
        if (got == 0) {
            if (const auto due = outbound_.next_due()) {
                changed_.wait_until(lock, *due);
            } else {
                changed_.wait(lock);
            }
            continue;
        }
        changed_.notify_all();  // room for a waiting writer
        // Holding bytes: from here no write goes past them directly.
        drain_writing_ = true;
        changed_.wait(lock, [&] { return !direct_writing_ || closed_; });
        if (closed_) return;
        lock.unlock();
        const bool written = inner_->write({chunk.data(), got});
        lock.lock();
        drain_writing_ = false;
        if (!written) {
            write_failed_ = true;
            changed_.notify_all();
            return;
        }
    }
}

}  // namespace kestrel::sim
