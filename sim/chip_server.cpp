#include "sim/chip_server.h"
#include "transport/platform/file_descriptor.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>

namespace kestrel::sim {
namespace {

constexpr int kHangupPollMs = 50;

std::string errno_text() { return std::strerror(errno); }

using Fd = UniqueFd;

// Wakes a server's thread when the server goes.
class StopSignal {
public:
    StopSignal() : fd_(make_event()) {}
    void raise() { signal_event(fd_); }
    int fd() const { return fd_.get(); }

private:
    Fd fd_;
};

class PtyServer final : public ChipServer {
public:
    PtyServer(Fd master, std::string slave, SimulatedChip::Options options)
        : master_(std::move(master)), slave_(std::move(slave)), chip_(std::move(options)) {
        chip_.set_unplugged_handler([this] {
            std::lock_guard lock(mutex_);
            unplugged_ = true;
            changed_.notify_all();
        });
        thread_ = std::thread(&PtyServer::serve, this);
    }

    ~PtyServer() override {
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        stop_.raise();
        changed_.notify_all();
        thread_.join();
    }

    std::string where() const override { return slave_; }
    SimulatedChip& chip() override { return chip_; }

private:
    void serve() {
        for (;;) {
            std::string error;
            Fd line(::fcntl(master_.get(), F_DUPFD_CLOEXEC, 0));
            {
                std::unique_lock lock(mutex_);
                unplugged_ = false;
                if (stopping_ || !line || !chip_.attach(make_fd_byte_stream(line.release(), slave_), error)) return;
                changed_.wait(lock, [&] { return stopping_ || unplugged_; });
                if (stopping_) return;
            }
            flush_stale_output();
            if (!wait_for_host()) return;
        }
    }

    // What the chip wrote after its host had gone would greet the next host.
    void flush_stale_output() {
        Fd slave(::open(slave_.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
        if (!slave) return;
        char buffer[4096];
        while (::read(slave.get(), buffer, sizeof buffer) > 0) {
        }
    }

    // The master reports a hang-up until a host opens the terminal again.
    bool wait_for_host() {
        for (;;) {
            pollfd fds[] = {{master_.get(), POLLIN, 0}, {stop_.fd(), POLLIN, 0}};
            if (::poll(fds, 2, kHangupPollMs) < 0 && errno != EINTR) return false;
            if (fds[1].revents != 0) return false;
            if ((fds[0].revents & POLLHUP) == 0) {
                // Polled again after a pause: a host that opens the terminal
                // and closes it at once is not worth a chip.
                pollfd again{master_.get(), POLLIN, 0};
                if (::poll(&again, 1, 0) >= 0 && (again.revents & POLLHUP) == 0) return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(kHangupPollMs));
        }
    }

    Fd master_;
    const std::string slave_;
    // Before the chip: its unplugged handler uses them until the chip is gone.
    std::mutex mutex_;
    std::condition_variable changed_;
    bool unplugged_ = false;
    bool stopping_ = false;
    StopSignal stop_;
    SimulatedChip chip_;
    std::thread thread_;
};

class SocketServer final : public ChipServer {
public:
    SocketServer(Fd listener, std::string where, std::string unix_path, bool tcp, SimulatedChip::Options options)
        : listener_(std::move(listener)), where_(std::move(where)), unix_path_(std::move(unix_path)), tcp_(tcp),
          chip_(std::move(options)) {
        chip_.set_unplugged_handler([this] {
            std::lock_guard lock(mutex_);
            changed_.notify_all();
        });
        thread_ = std::thread(&SocketServer::serve, this);
    }

    ~SocketServer() override {
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        changed_.notify_all();
        stop_.raise();
        thread_.join();
        if (!unix_path_.empty()) ::unlink(unix_path_.c_str());
    }

    std::string where() const override { return where_; }
    SimulatedChip& chip() override { return chip_; }

private:
    // A host that connects while another is served waits in the listen
    // queue: it is accepted once the chip is free again.
    void serve() {
        for (;;) {
            {
                std::unique_lock lock(mutex_);
                changed_.wait(lock, [&] { return stopping_ || chip_.state() == SimulatedChip::State::unplugged; });
                if (stopping_) return;
            }
            pollfd fds[] = {{listener_.get(), POLLIN, 0}, {stop_.fd(), POLLIN, 0}};
            if (::poll(fds, 2, -1) < 0 && errno != EINTR) return;
            if (fds[1].revents != 0) return;
            if (fds[0].revents == 0) continue;
            Fd connection(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
            if (!connection) continue;
            if (tcp_) {
                int on = 1;
                ::setsockopt(connection.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            }
            std::string error;
            chip_.attach(make_fd_byte_stream(connection.release(), where_), error);
        }
    }

    Fd listener_;
    const std::string where_;
    const std::string unix_path_;
    const bool tcp_;
    // Before the chip: its unplugged handler uses them until the chip is gone.
    std::mutex mutex_;
    std::condition_variable changed_;
    bool stopping_ = false;
    StopSignal stop_;
    SimulatedChip chip_;
    std::thread thread_;
};

}  // namespace

std::unique_ptr<ChipServer> ChipServer::pty(SimulatedChip::Options options, std::string& error) {
    Fd master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    char name[128];
    if (!master || ::grantpt(master.get()) != 0 || ::unlockpt(master.get()) != 0 ||
        ::ptsname_r(master.get(), name, sizeof name) != 0) {
        error = "cannot make a pseudo-terminal: " + errno_text();
        return nullptr;
    }
    // Raw from the start: a terminal that echoed would send the chip's first
    // bytes back to it before the host has set the line up.
    termios settings{};
    if (::tcgetattr(master.get(), &settings) == 0) {
        ::cfmakeraw(&settings);
        ::tcsetattr(master.get(), TCSANOW, &settings);
    }
    return std::make_unique<PtyServer>(std::move(master), name, std::move(options));
}

std::unique_ptr<ChipServer> ChipServer::unix_socket(const std::string& path, SimulatedChip::Options options,
                                                    std::string& error) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        error = "bad socket path '" + path + "'";
        return nullptr;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const auto* generic = reinterpret_cast<const sockaddr*>(&address);
    struct stat info {};
    if (::lstat(path.c_str(), &info) == 0) {
        if (!S_ISSOCK(info.st_mode)) {
            error = path + " exists and is not a socket";
            return nullptr;
        }
        Fd probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (probe && ::connect(probe.get(), generic, sizeof address) == 0) {
            error = path + " is in use";
            return nullptr;
        }
        ::unlink(path.c_str());
    }
    Fd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!listener || ::bind(listener.get(), generic, sizeof address) != 0 || ::listen(listener.get(), 4) != 0) {
        error = path + ": " + errno_text();
        return nullptr;
    }
    return std::make_unique<SocketServer>(std::move(listener), "unix:" + path, path, false, std::move(options));
}

std::unique_ptr<ChipServer> ChipServer::tcp(unsigned port, SimulatedChip::Options options, std::string& error) {
    if (port > 65535) {
        error = "bad TCP port " + std::to_string(port);
        return nullptr;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    Fd listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    int on = 1;
    if (listener) ::setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    socklen_t length = sizeof address;
    if (!listener || ::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener.get(), 4) != 0 ||
        ::getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        error = "TCP port " + std::to_string(port) + ": " + errno_text();
        return nullptr;
    }
    const std::string where = "tcp:127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    return std::make_unique<SocketServer>(std::move(listener), where, "", true, std::move(options));
}

}  // namespace kestrel::sim
