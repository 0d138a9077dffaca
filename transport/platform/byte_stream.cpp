#include "transport/platform/byte_stream.h"
#include "transport/platform/file_descriptor.h"

// Serial lines are configured through the kernel's termios2 interface only;
// <termios.h> is deliberately absent because its struct termios clashes with it.
#include <asm/ioctls.h>
#include <asm/termbits.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace kestrel {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

std::string errno_text(int err = errno) {
    char buffer[128];
    return strerror_r(err, buffer, sizeof buffer);  // GNU variant: thread-safe, returns the text
}

using Fd = UniqueFd;

struct RateCode {
    unsigned baud;
    unsigned code;
};
constexpr RateCode kStandardRates[] = {
    {50, B50},         {75, B75},         {110, B110},       {134, B134},       {150, B150},
    {200, B200},       {300, B300},       {600, B600},       {1200, B1200},     {1800, B1800},
    {2400, B2400},     {4800, B4800},     {9600, B9600},     {19200, B19200},   {38400, B38400},
    {57600, B57600},   {115200, B115200}, {230400, B230400}, {460800, B460800}, {500000, B500000},
    {576000, B576000}, {921600, B921600}, {1000000, B1000000}, {1152000, B1152000},
    {1500000, B1500000}, {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000},
    {3500000, B3500000}, {4000000, B4000000},
};

// A standard rate keeps its own code, which every driver knows (what cfsetspeed
// would set); any other rate travels as a number with BOTHER.
void set_rate(termios2& t, unsigned baud) {
    t.c_cflag &= ~(CBAUD | (CBAUD << IBSHIFT));  // input rate bits 0: input follows output
    const auto* row = std::find_if(std::begin(kStandardRates), std::end(kStandardRates),
                                   [baud](const RateCode& r) { return r.baud == baud; });
    t.c_cflag |= row != std::end(kStandardRates) ? row->code : BOTHER;
    t.c_ispeed = t.c_ospeed = baud;
}

Fd open_serial(const std::string& path, const LineSettings& settings, std::string& error) {
    if (settings.baud == 0) {
        error = "invalid baud rate 0";
        return Fd();
    }
    // Non-blocking so that opening never waits for a carrier; reads and writes poll.
    Fd fd(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    termios2 t{};
    if (!fd || ::ioctl(fd.get(), TCGETS2, &t) != 0) {
        error = errno == ENOTTY ? "not a serial port, pseudo-terminal or socket" : errno_text();
        return Fd();
    }
    t.c_iflag &= ~(IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL | IXON | IXOFF | IXANY | INPCK);
    t.c_oflag &= ~OPOST;
    t.c_lflag &= ~(ECHO | ECHONL | ICANON | ISIG | IEXTEN);
    t.c_cflag &= ~(CSIZE | PARENB | PARODD | CSTOPB | CRTSCTS);
    t.c_cflag |= CS8 | CREAD | CLOCAL;
    if (settings.parity == LineSettings::Parity::even) t.c_cflag |= PARENB;
    if (settings.rts_cts) t.c_cflag |= CRTSCTS;
    t.c_cc[VMIN] = 1;
    t.c_cc[VTIME] = 0;
    set_rate(t, settings.baud);
    // Drivers silently drop what they cannot do (a pseudo-terminal has no parity),
    // so the settings are not read back and compared.
    if (::ioctl(fd.get(), TCSETS2, &t) != 0) {
        error = "cannot set line settings: " + errno_text();
        return Fd();
    }
    return fd;
}

Fd connect_unix(const std::string& path, std::string& error) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        error = "socket path too long";
        return Fd();
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    Fd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd || ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        error = errno_text();
        return Fd();
    }
    return fd;
}

// A path names a socket or a terminal; which one is only known once it exists.
Fd open_path(const std::string& path, const LineSettings& settings, std::string& error) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) {
        error = errno_text();
        return Fd();
    }
    return S_ISSOCK(info.st_mode) ? connect_unix(path, error) : open_serial(path, settings, error);
}

Fd connect_tcp(const std::string& host, const std::string& port, std::string& error) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    if (int rc = ::getaddrinfo(host.c_str(), port.c_str(), &hints, &list); rc != 0) {
        error = ::gai_strerror(rc);
        return Fd();
    }
    std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owner(list, &::freeaddrinfo);
    for (const addrinfo* a = list; a != nullptr; a = a->ai_next) {
        Fd fd(::socket(a->ai_family, a->ai_socktype | SOCK_CLOEXEC, a->ai_protocol));
        if (fd && ::connect(fd.get(), a->ai_addr, a->ai_addrlen) == 0) {
            int on = 1;  // frames are small and each one is awaited by the peer
            ::setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            return fd;
        }
        error = errno_text();
    }
    return Fd();
}


// Every stream is a descriptor; they differ only in how open() obtains it.
// The reader and the writer each hold their own mutex while using the
// descriptor, so close() can wake both and then release it safely.
class DescriptorStream final : public ByteStream {
public:
    using Connector = std::function<Fd(std::string& error)>;

    DescriptorStream(std::string name, Connector connector, Fd fd = Fd())
        : ByteStream(std::move(name)), connector_(std::move(connector)) {
        if (fd) install(std::move(fd));
    }
    ~DescriptorStream() override { close(); }

    bool open(std::string& error) override {
        {
            std::scoped_lock lock(read_mutex_, write_mutex_);
            if (fd_) return true;
        }
        if (!interrupt_event_ || !closing_event_) {
            error = "cannot create wake-up events";
            return false;
        }
        if (!connector_) {
            error = "stream closed";
            return false;
        }
        Fd fd = connector_(error);  // unlocked: a slow connect must not hold up close()
        if (!fd) return false;
        std::scoped_lock lock(read_mutex_, write_mutex_);
        if (!fd_) install(std::move(fd));
        return true;
    }

    long read(std::span<uint8_t> buffer, int timeout_ms) override {
        std::lock_guard lock(read_mutex_);
        if (!fd_) return -1;
        if (buffer.empty()) return 0;
        const auto deadline = Clock::now() + milliseconds(timeout_ms);
        for (;;) {
            pollfd fds[] = {{fd_.get(), POLLIN, 0},
                            {interrupt_event_.get(), POLLIN, 0},
                            {closing_event_.get(), POLLIN, 0}};
            const int wait = timeout_ms < 0 ? -1
                : static_cast<int>(std::max<long long>(
                      0, std::chrono::ceil<milliseconds>(deadline - Clock::now()).count()));
            const int ready = ::poll(fds, 3, wait);
            if (ready < 0 && errno == EINTR) continue;
            if (ready < 0 || fds[2].revents != 0) return -1;
            if (fds[1].revents != 0) {
                drain_event(interrupt_event_);
                return 0;
            }
            if (ready == 0) return 0;
            const ssize_t got = ::read(fd_.get(), buffer.data(), buffer.size());
            if (got > 0) return got;
            if (got == 0 || (errno != EAGAIN && errno != EINTR)) return -1;  // a pty answers EIO
        }
    }

    bool write(std::span<const uint8_t> data) override {
        std::lock_guard lock(write_mutex_);
        if (!fd_) return false;
        while (!data.empty()) {
            // send() with MSG_NOSIGNAL: a vanished peer is an error, not a SIGPIPE.
            const ssize_t n = is_socket_ ? ::send(fd_.get(), data.data(), data.size(), MSG_NOSIGNAL)
                                         : ::write(fd_.get(), data.data(), data.size());
            if (n > 0) {
                data = data.subspan(static_cast<size_t>(n));
                continue;
            }
            if (n == 0 || (errno != EINTR && errno != EAGAIN)) return false;
            if (errno == EINTR) continue;
            pollfd fds[] = {{fd_.get(), POLLOUT, 0}, {closing_event_.get(), POLLIN, 0}};
            if (::poll(fds, 2, -1) < 0 && errno != EINTR) return false;
            if (fds[1].revents != 0) return false;
        }
        return true;
    }

    void interrupt() override { signal_event(interrupt_event_); }

    void close() override {
        signal_event(closing_event_);  // stays set until the next open: wakes every waiter
        std::scoped_lock lock(read_mutex_, write_mutex_);
        fd_.reset();
    }

private:
    // Called with both mutexes held (or before the stream is shared).
    void install(Fd fd) {
        ::fcntl(fd.get(), F_SETFL, ::fcntl(fd.get(), F_GETFL) | O_NONBLOCK);
        struct stat info {};
        is_socket_ = ::fstat(fd.get(), &info) == 0 && S_ISSOCK(info.st_mode);
        drain_event(interrupt_event_);
        drain_event(closing_event_);
        fd_ = std::move(fd);
    }

    const Connector connector_;
    const Fd interrupt_event_{make_event()};  // consumed by read
    const Fd closing_event_{make_event()};    // sticky until open
    std::mutex read_mutex_;
    std::mutex write_mutex_;
    Fd fd_;
    bool is_socket_ = false;
};

bool has_prefix(std::string_view name, std::string_view prefix) {
    return name.starts_with(prefix) && (name.size() == prefix.size() || name[prefix.size()] == ':');
}

std::unique_ptr<ByteStream> make_com(std::string_view name, const LineSettings& settings, std::string&) {
    // The name the user typed does not show which file was tried, so errors do.
    return std::make_unique<DescriptorStream>(
        std::string(name), [path = com_port_path(name), settings](std::string& error) {
            Fd fd = open_serial(path, settings, error);
            if (!fd) error = path + ": " + error;
            return fd;
        });
}

std::unique_ptr<ByteStream> make_path(std::string_view name, const LineSettings& settings, std::string&) {
    return std::make_unique<DescriptorStream>(
        std::string(name), [path = std::string(name), settings](std::string& error) {
            return open_path(path, settings, error);
        });
}

std::unique_ptr<ByteStream> make_tcp(std::string_view name, const LineSettings&, std::string& error) {
    const std::string_view rest = name.substr(std::min(name.size(), std::string_view("tcp:").size()));
    const size_t colon = rest.rfind(':');
    std::string_view host = rest.substr(0, std::min(colon, rest.size()));
    if (host.size() >= 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
    if (colon == std::string_view::npos || host.empty() || colon + 1 == rest.size()) {
        error = "expected tcp:HOST:PORT, not '" + std::string(name) + "'";
        return nullptr;
    }
    return std::make_unique<DescriptorStream>(
        std::string(name), [host = std::string(host), port = std::string(rest.substr(colon + 1))](
                               std::string& error) { return connect_tcp(host, port, error); });
}

std::unique_ptr<ByteStream> make_unix(std::string_view name, const LineSettings&, std::string& error) {
    if (name.size() <= std::string_view("unix:").size()) {
        error = "expected unix:PATH, not '" + std::string(name) + "'";
        return nullptr;
    }
    return std::make_unique<DescriptorStream>(
        std::string(name), [path = std::string(name.substr(5))](std::string& error) {
            return connect_unix(path, error);
        });
}

struct FactoryRow {
    std::string key;  // a registration under the same key replaces the row
    std::function<bool(std::string_view)> accepts;
    ByteStreamFactory make;
};

std::function<bool(std::string_view)> prefix_matcher(std::string prefix) {
    return [prefix = std::move(prefix)](std::string_view name) { return has_prefix(name, prefix); };
}

struct FactoryTable {
    std::mutex mutex;
    std::vector<FactoryRow> rows{
        {"com", [](std::string_view name) { return !com_port_path(name).empty(); }, make_com},
        {"/", [](std::string_view name) { return name.starts_with('/'); }, make_path},
        {"tcp", prefix_matcher("tcp"), make_tcp},
        {"unix", prefix_matcher("unix"), make_unix},
    };
};

FactoryTable& factory_table() {
    static FactoryTable table;
    return table;
}

}  // namespace

std::string com_port_path(std::string_view name) {
    if (name.starts_with(R"(\\.\)")) name.remove_prefix(4);
    if (!name.starts_with("com") && !name.starts_with("COM")) return {};
    unsigned number = 0;
    const char* end = name.data() + name.size();
    const auto [stop, failure] = std::from_chars(name.data() + 3, end, number);
    if (failure != std::errc() || stop != end || number == 0) return {};
    return "/dev/ttyS" + std::to_string(number - 1);
}

void register_byte_stream_factory(std::string prefix, ByteStreamFactory factory) {
    FactoryTable& table = factory_table();
    std::lock_guard lock(table.mutex);
    auto row = std::find_if(table.rows.begin(), table.rows.end(),
                            [&](const FactoryRow& r) { return r.key == prefix; });
    if (row == table.rows.end()) row = table.rows.insert(table.rows.end(), FactoryRow{prefix, {}, {}});
    row->accepts = prefix_matcher(std::move(prefix));
    row->make = std::move(factory);
}

std::unique_ptr<ByteStream> make_byte_stream(std::string_view device_name, const LineSettings& settings,
                                             std::string& error) {
    ByteStreamFactory factory;
    {
        FactoryTable& table = factory_table();
        std::lock_guard lock(table.mutex);
        for (const FactoryRow& row : table.rows) {
            if (row.accepts(device_name)) {
                factory = row.make;
                break;
            }
        }
    }
    if (!factory) {
        error = "unknown device name '" + std::string(device_name) + "'";
        return nullptr;
    }
    return factory(device_name, settings, error);
}

std::unique_ptr<ByteStream> make_fd_byte_stream(int fd, std::string name) {
    return std::make_unique<DescriptorStream>(std::move(name), nullptr, Fd(fd));
}

bool open_with_deadline(ByteStream& stream, unsigned timeout_ms, std::string& error) {
    const auto deadline = Clock::now() + milliseconds(timeout_ms);
    for (;;) {
        if (stream.open(error)) return true;
        const auto now = Clock::now();
        if (now >= deadline) return false;
        std::this_thread::sleep_for(std::min<Clock::duration>(milliseconds(50), deadline - now));
    }
}

}  // namespace kestrel
