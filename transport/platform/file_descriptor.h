// A file descriptor that closes itself, and the event descriptors that wake
// a thread blocked in poll.
#pragma once

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

namespace kestrel {

class UniqueFd {
public:
    explicit UniqueFd(int fd = -1) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    void reset(int fd = -1) {
        if (fd_ >= 0) ::close(fd_);
        fd_ = fd;
    }
    int release() { return std::exchange(fd_, -1); }
    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

private:
    int fd_;
};

// An event descriptor: signal makes it readable, drain consumes the signals.
inline UniqueFd make_event() { return UniqueFd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)); }

inline void signal_event(const UniqueFd& event) {
    const uint64_t one = 1;
    [[maybe_unused]] ssize_t n = ::write(event.get(), &one, sizeof one);
}

inline void drain_event(const UniqueFd& event) {
    uint64_t count;
    [[maybe_unused]] ssize_t n = ::read(event.get(), &count, sizeof count);
}

}  // namespace kestrel
