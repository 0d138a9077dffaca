#include "sim/air.h"

#include <algorithm>

namespace kestrel::sim {
namespace {

// L2CAP and baseband headers that a data frame carries besides its bytes.
constexpr size_t kFrameOverhead = 4 + 2;

}  // namespace

std::array<uint8_t, 16> pairing_key(std::span<const uint8_t> pin, const BdAddr& a, const BdAddr& b) {
    std::array<uint8_t, 16> key{};
    const uint32_t mix = (a.lap ^ b.lap) * 2654435761u;
    for (size_t i = 0; i < key.size(); ++i)
        key[i] = static_cast<uint8_t>((pin.empty() ? 0 : pin[i % pin.size()]) ^ (mix >> (i % 4 * 8)) ^ (i * 37));
    return key;
}

Air::Air() : thread_(&Air::run, this) {}

Air::~Air() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

void Air::attach(const BdAddr& address, const std::shared_ptr<AirDevice>& device) {
    std::lock_guard lock(mutex_);
    std::erase_if(devices_, [](const auto& d) { return d.second.expired(); });
    devices_.emplace_back(address, device);
}

std::vector<DeviceInfo> Air::inquire(const BdAddr& asking) {
    std::vector<std::shared_ptr<AirDevice>> devices;
    {
        std::lock_guard lock(mutex_);
        for (const auto& entry : devices_)
            if (auto device = entry.second.lock()) devices.push_back(std::move(device));
    }
    std::vector<DeviceInfo> found;
    for (const auto& device : devices) {
        DeviceInfo info = device->info();
        if (info.discoverable && info.address != asking) found.push_back(std::move(info));
    }
    return found;
}

std::shared_ptr<AirDevice> Air::find(const BdAddr& address) {
    std::lock_guard lock(mutex_);
    for (const auto& entry : devices_)
        if (entry.first == address)
            if (auto device = entry.second.lock()) return device;
    return nullptr;
}

BdAddr Air::next_chip_address() {
    std::lock_guard lock(mutex_);
    return {0x100000u + ++chips_, 0x5b, 0x0002};
}

Air::Clock::time_point Air::transmit(AirFrame frame) {
    std::lock_guard lock(mutex_);
    const auto now = Clock::now();
    const auto direction = std::make_pair(frame.from, frame.to);
    auto left = now;
    if (!frame.data.empty()) {
        auto& busy = busy_until_[direction];
        const auto start = std::max(now, busy);
        const double seconds = static_cast<double>((frame.data.size() + kFrameOverhead) * 8) / settings_.rate;
        left = start + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
        busy = left;
    }
    auto& last = last_arrival_[direction];
    const auto arrival = std::max(last, left + std::chrono::duration_cast<Clock::duration>(
                                                   std::chrono::duration<double, std::milli>(settings_.latency_ms)));
    last = arrival;
    std::weak_ptr<AirDevice> target;
    for (const auto& entry : devices_)
        if (entry.first == frame.to && !entry.second.expired()) target = entry.second;
    jobs_.push({arrival, order_++, [target, frame = std::move(frame)] {
                    if (auto device = target.lock()) device->from_air(frame);
                }});
    wake_.notify_all();
    return left;
}

void Air::at(Clock::time_point when, std::function<void()> action) {
    std::lock_guard lock(mutex_);
    jobs_.push({when, order_++, std::move(action)});
    wake_.notify_all();
}

AirSettings Air::settings() const {
    std::lock_guard lock(mutex_);
    return settings_;
}

void Air::set_settings(const AirSettings& settings) {
    std::lock_guard lock(mutex_);
    settings_ = settings;
}

void Air::run() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        if (jobs_.empty()) {
            wake_.wait(lock);
            continue;
        }
        const auto when = jobs_.top().when;
        if (Clock::now() < when) {
            wake_.wait_until(lock, when);
            continue;
        }
        Job job = jobs_.top();
        jobs_.pop();
        lock.unlock();
        job.action();
        lock.lock();
    }
}

}  // namespace kestrel::sim
