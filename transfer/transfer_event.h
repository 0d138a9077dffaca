// The event a synchronous transfer command waits on: auto-reset, so that a
// successful wait consumes the signal, and reset when its record is reused.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace kestrel {

class TransferEvent {
public:
    void signal() {
        {
            std::lock_guard lock(mutex_);
            signalled_ = true;
        }
        cv_.notify_all();
    }
    void reset() {
        std::lock_guard lock(mutex_);
        signalled_ = false;
    }
    // True when the event was signalled within the time; the signal is then
    // consumed.
    bool wait_for(std::chrono::milliseconds time) {
        std::unique_lock lock(mutex_);
        if (!cv_.wait_for(lock, time, [this] { return signalled_; })) return false;
        signalled_ = false;
        return true;
    }

private:
    std::mutex mutex_;
    std::condition_variable cv_;
    bool signalled_ = false;
};

}  // namespace kestrel
