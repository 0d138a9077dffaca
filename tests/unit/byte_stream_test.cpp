#include "transport/platform/byte_stream.h"

#include <gtest/gtest.h>

// posix_openpt rather than openpty: <pty.h> brings <termios.h>, which would hide
// the kernel termios2 view used here to read back the rate that was set.
#include <asm/ioctls.h>
#include <asm/termbits.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace kestrel {
namespace {

using namespace std::chrono_literals;
using Bytes = std::vector<uint8_t>;

// Hang guard only: every wait below normally ends long before it.
constexpr int kPatienceMs = 10000;

struct OwnedFd {
    explicit OwnedFd(int fd = -1) : fd(fd) {}
    OwnedFd(const OwnedFd&) = delete;
    OwnedFd& operator=(const OwnedFd&) = delete;
    ~OwnedFd() { reset(); }
    void reset(int other = -1) {
        if (fd >= 0) ::close(fd);
        fd = other;
    }
    int fd;
};

Bytes read_fd(int fd, size_t count) {
    Bytes out;
    uint8_t buffer[65536];
    pollfd p{fd, POLLIN, 0};
    while (out.size() < count && ::poll(&p, 1, kPatienceMs) > 0) {
        const ssize_t n = ::read(fd, buffer, std::min(sizeof buffer, count - out.size()));
        if (n <= 0) break;
        out.insert(out.end(), buffer, buffer + n);
    }
    return out;
}

void write_fd(int fd, const Bytes& data) {
    for (size_t done = 0; done < data.size();) {
        const ssize_t n = ::write(fd, data.data() + done, data.size() - done);
        ASSERT_GT(n, 0);
        done += static_cast<size_t>(n);
    }
}

Bytes read_stream(ByteStream& stream, size_t count) {
    Bytes out(count);
    size_t done = 0;
    while (done < count) {
        const long n = stream.read(std::span(out).subspan(done), kPatienceMs);
        if (n <= 0) break;
        done += static_cast<size_t>(n);
    }
    out.resize(done);
    return out;
}

// Includes bytes that a terminal left in cooked mode would translate or act on.
void expect_round_trip(ByteStream& stream, int peer) {
    const Bytes awkward = {0x00, 0x03, 0x04, 0x0A, 0x0D, 0x11, 0x13, 0x1A, 0x1C, 0x7F, 0x80, 0xFF, 'K'};
    ASSERT_TRUE(stream.write(awkward));
    EXPECT_EQ(read_fd(peer, awkward.size()), awkward);
    write_fd(peer, awkward);
    EXPECT_EQ(read_stream(stream, awkward.size()), awkward);
}

std::unique_ptr<ByteStream> open_stream(const std::string& name, const LineSettings& settings = {}) {
    std::string error;
    auto stream = make_byte_stream(name, settings, error);
    EXPECT_NE(stream, nullptr) << error;
    if (stream && !stream->open(error)) {
        ADD_FAILURE() << "opening " << name << ": " << error;
        return nullptr;
    }
    return stream;
}

std::string open_error(const std::string& name) {
    std::string error;
    auto stream = make_byte_stream(name, {}, error);
    if (!stream) return "not built: " + error;
    return stream->open(error) ? "opened" : error;
}

// ---- Device names ----

TEST(DeviceNameTest, ComNamesStandForTtySPorts) {
    const std::pair<const char*, const char*> cases[] = {
        {"com1", "/dev/ttyS0"}, {"COM12", "/dev/ttyS11"}, {R"(\\.\COM3)", "/dev/ttyS2"},
        {"com0", ""},           {"com", ""},             {"COM1x", ""},
        {"com-1", ""},          {"/dev/com1", ""},       {R"(\\.\tty1)", ""},
    };
    for (const auto& [name, path] : cases) EXPECT_EQ(com_port_path(name), path) << name;
    std::string error;
    auto stream = make_byte_stream(R"(\\.\COM3)", {}, error);  // built, never opened: ttyS may be real
    ASSERT_NE(stream, nullptr) << error;
    EXPECT_EQ(stream->name(), R"(\\.\COM3)");
}

TEST(DeviceNameTest, EachTransportParsesItsOwnPart) {
    std::string error;
    for (const char* name : {"tcp:localhost:7000", "tcp:[::1]:7000", "unix:/tmp/k.sock", "/dev/ttyUSB0"})
        EXPECT_NE(make_byte_stream(name, {}, error), nullptr) << name << ": " << error;
    for (const char* name : {"tcp", "tcp:", "tcp:host", "tcp::80", "tcp:host:", "unix", "unix:"}) {
        error.clear();
        EXPECT_EQ(make_byte_stream(name, {}, error), nullptr) << name;
        EXPECT_EQ(error.rfind("expected ", 0), 0u) << name << ": " << error;
    }
}

TEST(DeviceNameTest, UnknownNamesAreRejected) {
    for (const std::string name : {"foo", "", "tcpx:host:1", "unixy:/p", "dev/ttyS0", "sim-unregistered"}) {
        std::string error;
        EXPECT_EQ(make_byte_stream(name, {}, error), nullptr) << name;
        EXPECT_EQ(error, "unknown device name '" + name + "'");
    }
}

TEST(DeviceNameTest, RegisteredPrefixesReachTheirFactoryWithTheFullName) {
    std::vector<std::pair<std::string, unsigned>> seen;
    register_byte_stream_factory("fake", [&seen](std::string_view name, const LineSettings& settings,
                                                 std::string&) {
        seen.emplace_back(name, settings.baud);
        return make_fd_byte_stream(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), std::string(name));
    });
    std::string error;
    EXPECT_NE(make_byte_stream("fake", {.baud = 921600}, error), nullptr);
    EXPECT_NE(make_byte_stream("fake:speed=3", {}, error), nullptr);
    EXPECT_EQ(make_byte_stream("fakeX", {}, error), nullptr);
    EXPECT_EQ(seen, (std::vector<std::pair<std::string, unsigned>>{{"fake", 921600}, {"fake:speed=3", 115200}}));

    // Registering again replaces the factory (and drops the one capturing `seen`).
    register_byte_stream_factory("fake", [](std::string_view, const LineSettings&, std::string& e) {
        e = "replaced";
        return std::unique_ptr<ByteStream>();
    });
    EXPECT_EQ(make_byte_stream("fake", {}, error), nullptr);
    EXPECT_EQ(error, "replaced");
    EXPECT_EQ(seen.size(), 2u);
}

// ---- Pseudo-terminals ----

struct LineCase {
    unsigned baud;
    LineSettings::Parity parity;
    bool rts_cts;
};

void PrintTo(const LineCase& line, std::ostream* out) {
    *out << line.baud << (line.parity == LineSettings::Parity::even ? " 8E1" : " 8N1")
         << (line.rts_cts ? " rts/cts" : "");
}

class PseudoTerminalTest : public testing::TestWithParam<LineCase> {
protected:
    void SetUp() override {
        master_.reset(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
        ASSERT_GE(master_.fd, 0);
        ASSERT_EQ(::grantpt(master_.fd), 0);
        ASSERT_EQ(::unlockpt(master_.fd), 0);
        char name[128];
        ASSERT_EQ(::ptsname_r(master_.fd, name, sizeof name), 0);
        slave_path_ = name;
    }
    OwnedFd master_;
    std::string slave_path_;
};

TEST_P(PseudoTerminalTest, CarriesRawBytesBothWaysAtTheRequestedRate) {
    const LineCase line = GetParam();
    auto stream = open_stream(slave_path_, {line.baud, line.parity, line.rts_cts});
    ASSERT_NE(stream, nullptr);
    expect_round_trip(*stream, master_.fd);

    OwnedFd slave(::open(slave_path_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    termios2 t{};
    ASSERT_EQ(::ioctl(slave.fd, TCGETS2, &t), 0);
    EXPECT_EQ(t.c_ospeed, line.baud);
    EXPECT_EQ(t.c_ispeed, line.baud);
    EXPECT_EQ((t.c_cflag & CRTSCTS) != 0, line.rts_cts);
    EXPECT_EQ(t.c_lflag & (ICANON | ECHO | ISIG), 0u);
}

INSTANTIATE_TEST_SUITE_P(Rates, PseudoTerminalTest,
                         testing::Values(LineCase{921600, LineSettings::Parity::none, true},
                                         LineCase{1000000, LineSettings::Parity::even, false},
                                         LineCase{250000, LineSettings::Parity::even, false},
                                         LineCase{250000, LineSettings::Parity::none, true},
                                         LineCase{31250, LineSettings::Parity::none, false}));

TEST_F(PseudoTerminalTest, ReportsEndOfStreamWhenTheOtherSideCloses) {
    auto stream = open_stream(slave_path_);
    ASSERT_NE(stream, nullptr);
    master_.reset();
    uint8_t buffer[8];
    EXPECT_EQ(stream->read(buffer, kPatienceMs), -1);
}

// ---- Descriptor streams (socketpair) ----

class DescriptorStreamTest : public testing::Test {
protected:
    void SetUp() override {
        int pair[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
        stream_ = make_fd_byte_stream(pair[0], "pair");
        peer_.reset(pair[1]);
    }

    // Runs a blocking read on another thread; the stream must wake it.
    std::future<long> read_in_background(int timeout_ms = -1) {
        return std::async(std::launch::async, [this, timeout_ms] {
            uint8_t buffer[16];
            return stream_->read(buffer, timeout_ms);
        });
    }

    template <typename T>
    void expect_woken(std::future<T>& result) {
        if (result.wait_for(std::chrono::milliseconds(kPatienceMs)) != std::future_status::ready) {
            ADD_FAILURE() << "blocked call was not woken";
            write_fd(peer_.fd, {0});  // release a blocked reader so the test can end
            peer_.reset();
        }
    }

    std::unique_ptr<ByteStream> stream_;
    OwnedFd peer_;
};

TEST_F(DescriptorStreamTest, IsOpenAtOnceAndCarriesBytesBothWays) {
    std::string error;
    EXPECT_TRUE(stream_->open(error)) << error;
    EXPECT_EQ(stream_->name(), "pair");
    expect_round_trip(*stream_, peer_.fd);
}

TEST_F(DescriptorStreamTest, ReadTimeOutAnswersZeroAndLaterDataStillArrives) {
    uint8_t buffer[4];
    EXPECT_EQ(stream_->read(buffer, 50), 0);
    write_fd(peer_.fd, {7, 8});
    ASSERT_EQ(stream_->read(buffer, kPatienceMs), 2);
    EXPECT_EQ(buffer[1], 8);
}

TEST_F(DescriptorStreamTest, InterruptWakesABlockedReaderOnce) {
    auto reader = read_in_background();
    stream_->interrupt();
    expect_woken(reader);
    EXPECT_EQ(reader.get(), 0);
    // The interrupt was consumed: the next read delivers data instead of 0.
    write_fd(peer_.fd, {5});
    uint8_t buffer[4];
    EXPECT_EQ(stream_->read(buffer, kPatienceMs), 1);
}

TEST_F(DescriptorStreamTest, InterruptBeforeTheReadIsNotLost) {
    stream_->interrupt();
    auto reader = read_in_background();
    expect_woken(reader);
    EXPECT_EQ(reader.get(), 0);
}

TEST_F(DescriptorStreamTest, CloseWakesBlockedReaderAndWriter) {
    auto reader = read_in_background();
    auto writer = std::async(std::launch::async, [this] {
        return stream_->write(Bytes(16 << 20, 0x55));  // far more than the socket buffers hold
    });
    std::this_thread::sleep_for(100ms);  // lets both block; the outcome is the same if they have not
    stream_->close();
    expect_woken(reader);
    expect_woken(writer);
    EXPECT_EQ(reader.get(), -1);
    EXPECT_FALSE(writer.get());
    std::string error;
    EXPECT_FALSE(stream_->open(error));  // the descriptor was given, not reopenable
}

TEST_F(DescriptorStreamTest, ReportsEndOfStreamAndFailedWritesWhenThePeerCloses) {
    peer_.reset();
    uint8_t buffer[4];
    EXPECT_EQ(stream_->read(buffer, kPatienceMs), -1);
    EXPECT_FALSE(stream_->write(Bytes{1, 2, 3}));  // an error, not a SIGPIPE
}

TEST_F(DescriptorStreamTest, WritesALargeBufferWhileThePeerReads) {
    Bytes data(1 << 20);
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i * 7 + i / 251);
    auto received = std::async(std::launch::async, [&] { return read_fd(peer_.fd, data.size()); });
    EXPECT_TRUE(stream_->write(data));
    EXPECT_TRUE(received.get() == data);
}

// ---- Sockets and opening with a deadline ----

class SocketStreamTest : public testing::Test {
protected:
    void SetUp() override {
        char dir[] = "/tmp/kestrel_byte_stream_XXXXXX";
        ASSERT_NE(::mkdtemp(dir), nullptr);
        dir_ = dir;
        path_ = dir_ + "/chip.sock";
    }
    void TearDown() override {
        ::unlink(path_.c_str());
        ::rmdir(dir_.c_str());
    }

    static int unix_socket(const std::string& path, bool listening) {
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        if (listening) {
            EXPECT_EQ(::listen(fd, 4), 0);
        }
        return fd;
    }

    static int tcp_listener(uint16_t& port) {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), size), 0);
        EXPECT_EQ(::listen(fd, 4), 0);
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
        port = ntohs(address.sin_port);
        return fd;
    }

    std::string dir_, path_;
};

TEST_F(SocketStreamTest, UnixSocketOpensByPrefixAndByPlainPath) {
    OwnedFd listener(unix_socket(path_, true));
    for (const std::string& name : {"unix:" + path_, path_}) {
        auto stream = open_stream(name);
        ASSERT_NE(stream, nullptr);
        OwnedFd peer(::accept(listener.fd, nullptr, nullptr));
        expect_round_trip(*stream, peer.fd);
    }
}

TEST_F(SocketStreamTest, TcpLoopback) {
    uint16_t port = 0;
    OwnedFd listener(tcp_listener(port));
    auto stream = open_stream("tcp:127.0.0.1:" + std::to_string(port));
    ASSERT_NE(stream, nullptr);
    OwnedFd peer(::accept(listener.fd, nullptr, nullptr));
    expect_round_trip(*stream, peer.fd);
}

TEST_F(SocketStreamTest, FailuresNameTheirReason) {
    OwnedFd bound_only(unix_socket(path_, false));
    EXPECT_EQ(open_error("unix:" + path_), "Connection refused");
    EXPECT_EQ(open_error(path_), "Connection refused");

    uint16_t port = 0;
    OwnedFd closed(tcp_listener(port));
    closed.reset();
    EXPECT_EQ(open_error("tcp:127.0.0.1:" + std::to_string(port)), "Connection refused");

    ::unlink(path_.c_str());
    OwnedFd plain_file(::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    EXPECT_EQ(open_error(path_), "not a serial port, pseudo-terminal or socket");
    EXPECT_EQ(open_error(dir_ + "/absent"), "No such file or directory");
}

TEST_F(SocketStreamTest, OpenWithDeadlineAcceptsASocketThatAppearsLater) {
    auto listener = std::async(std::launch::async, [this] {
        std::this_thread::sleep_for(200ms);
        return unix_socket(path_, true);
    });
    std::string error;
    auto stream = make_byte_stream(path_, {}, error);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(open_error(path_), "No such file or directory");  // not there yet
    ASSERT_TRUE(open_with_deadline(*stream, kPatienceMs, error)) << error;
    OwnedFd server(listener.get());
    OwnedFd peer(::accept(server.fd, nullptr, nullptr));
    expect_round_trip(*stream, peer.fd);
}

TEST_F(SocketStreamTest, OpenWithDeadlineFailsWithTheLastReasonWhenNothingAppears) {
    std::string error;
    auto stream = make_byte_stream("unix:" + path_, {}, error);
    ASSERT_NE(stream, nullptr);
    EXPECT_FALSE(open_with_deadline(*stream, 300, error));
    EXPECT_EQ(error, "No such file or directory");
}

// Counts attempts and fails with a distinct reason each time.
class FlakyStream final : public ByteStream {
public:
    explicit FlakyStream(int failures) : ByteStream("flaky"), failures_(failures) {}
    bool open(std::string& error) override {
        if (++attempts > failures_) return true;
        error = "attempt " + std::to_string(attempts);
        return false;
    }
    long read(std::span<uint8_t>, int) override { return -1; }
    bool write(std::span<const uint8_t>) override { return false; }
    void interrupt() override {}
    void close() override {}
    int attempts = 0;

private:
    int failures_;
};

TEST(OpenWithDeadlineTest, RetriesUntilAnAttemptSucceeds) {
    FlakyStream stream(3);
    std::string error;
    EXPECT_TRUE(open_with_deadline(stream, kPatienceMs, error));
    EXPECT_EQ(stream.attempts, 4);
}

TEST(OpenWithDeadlineTest, KeepsTheLastAttemptsReason) {
    FlakyStream stream(1000000);
    std::string error;
    EXPECT_FALSE(open_with_deadline(stream, 300, error));
    EXPECT_GE(stream.attempts, 2);
    EXPECT_EQ(error, "attempt " + std::to_string(stream.attempts));

    FlakyStream once(1000000);
    EXPECT_FALSE(open_with_deadline(once, 0, error));
    EXPECT_EQ(once.attempts, 1);
}

}  // namespace
}  // namespace kestrel
