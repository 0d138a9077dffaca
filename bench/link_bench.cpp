// Link benchmark: PTCMD round trips per second over the embedded simulated
// chip (PTSP, no rate limit) next to a plain socket-pair ping-pong of the same
// sizes, and PTSP goodput over simulated 115200 and 921600 baud lines as a
// share of what the framing allows. Prints its figures; asserts nothing.
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sim/embedded_sim.h"
#include "transport/platform/message_codec.h"
#include "transport/platform/message_link.h"

using namespace kestrel;
using Clock = std::chrono::steady_clock;

namespace {

constexpr size_t kPtcmdBytes = 18;  // a nine-word PTCMD message

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Counts messages arriving on a link and lets the caller wait for a number.
struct Arrivals {
    std::mutex mutex;
    std::condition_variable changed;
    size_t messages = 0;
    size_t bytes = 0;
    void add(size_t size) {
        {
            std::lock_guard lock(mutex);
            ++messages;
            bytes += size;
        }
        changed.notify_all();
    }
    bool wait_for(size_t count, std::chrono::seconds limit = std::chrono::seconds(30)) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, limit, [&] { return messages >= count; });
    }
};

std::unique_ptr<MessageLink> connect_sim(const std::string& options, Arrivals& arrivals, uint8_t channel) {
    std::string error;
    auto stream = make_byte_stream("sim:" + options, LineSettings{}, error);
    if (!stream) {
        std::fprintf(stderr, "link_bench: %s\n", error.c_str());
        std::exit(1);
    }
    auto link = std::make_unique<MessageLink>(
        std::move(stream), LinkProtocol::ptsp, LinkRole::host,
        MessageLink::Handlers{[&arrivals, channel](uint8_t c, std::span<const uint8_t> message) {
                                  if (c == channel) arrivals.add(message.size());
                              },
                              nullptr, nullptr});
    if (!link->start(10000, error)) {
        std::fprintf(stderr, "link_bench: the simulated chip did not come up: %s\n", error.c_str());
        std::exit(1);
    }
    return link;
}

double ptcmd_round_trips_per_second(int count) {
    Arrivals arrivals;
    auto link = connect_sim("protocol=ptsp", arrivals, 2);
    const std::vector<uint16_t> request{0, 9, 0, 0x281A, 0, 0, 0, 0, 0};
    const auto bytes = ptcmd_bytes(request);
    const auto start = Clock::now();
    for (int i = 1; i <= count; ++i) {
        link->send(2, bytes);
        if (!arrivals.wait_for(static_cast<size_t>(i))) {
            std::fprintf(stderr, "link_bench: round trip %d was not answered\n", i);
            std::exit(1);
        }
    }
    const double rate = count / seconds_since(start);
    link->stop();
    return rate;
}

double socketpair_round_trips_per_second(int count) {
    int fds[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, fds) != 0) return 0;
    std::thread echo([fd = fds[1], count] {
        std::vector<uint8_t> buffer(kPtcmdBytes);
        for (int i = 0; i < count; ++i) {
            size_t got = 0;
            while (got < kPtcmdBytes) got += static_cast<size_t>(read(fd, buffer.data() + got, kPtcmdBytes - got));
            (void)!write(fd, buffer.data(), kPtcmdBytes);
        }
    });
    std::vector<uint8_t> buffer(kPtcmdBytes, 0x11);
    const auto start = Clock::now();
    for (int i = 0; i < count; ++i) {
        (void)!write(fds[0], buffer.data(), kPtcmdBytes);
        size_t got = 0;
        while (got < kPtcmdBytes) got += static_cast<size_t>(read(fds[0], buffer.data() + got, kPtcmdBytes - got));
    }
    const double rate = count / seconds_since(start);
    echo.join();
    close(fds[0]);
    close(fds[1]);
    return rate;
}

// VM messages echoed by the chip over a paced line; payload bytes that need
// no escaping, so the framing's cost is exact. The messages are sized so that
// the window of four frames leaves the line within the 250 ms resend time at
// 115200 baud: larger frames on a slow line are sent again before they can
// have been acknowledged.
void goodput(unsigned baud, double seconds, size_t kPayload) {
    constexpr size_t kFrameOverhead = 2 + 4 + 2;  // delimiters, header, CRC
    constexpr size_t kAhead = 8;
    Arrivals arrivals;
    auto link = connect_sim("protocol=ptsp,rate=" + std::to_string(baud), arrivals, 13);
    const std::vector<uint8_t> message(kPayload, 0x5A);
    size_t sent = 0;
    for (; sent < kAhead; ++sent) link->send(13, message);
    const auto start = Clock::now();
    while (seconds_since(start) < seconds) {
        arrivals.wait_for(sent - kAhead + 1);
        link->send(13, message);
        ++sent;
    }
    const double elapsed = seconds_since(start);
    size_t bytes;
    {
        std::lock_guard lock(arrivals.mutex);
        bytes = arrivals.bytes;
    }
    link->stop();
    const double line = baud / 10.0;  // bytes per second of an 8N1 UART
    const double framing_limit = line * kPayload / (kPayload + kFrameOverhead);
    const double rate = bytes / elapsed;
    std::printf("PTSP goodput at %7u baud, %4zu-byte messages: %8.0f bytes/s; line %8.0f bytes/s; framing "
                "allows %8.0f: %5.1f%% of it (goal: at least 90%%)\n",
                baud, kPayload, rate, line, framing_limit, 100.0 * rate / framing_limit);
}


double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    register_embedded_sim();
    const int count = argc > 1 ? std::atoi(argv[1]) : 5000;
    // The two are measured in alternation, five times each, and compared by
    // their medians: a machine whose load drifts moves both alike.
    std::vector<double> chip, plain;
    for (int trial = 0; trial < 5; ++trial) {
        chip.push_back(ptcmd_round_trips_per_second(count));
        plain.push_back(socketpair_round_trips_per_second(count));
    }
    std::printf("PTCMD round trips over the embedded chip: %8.0f per second (median of 5)\n", median(chip));
    std::printf("socket-pair ping-pong of %zu bytes:        %8.0f per second (median of 5)\n", kPtcmdBytes,
                median(plain));
    std::printf("ratio %.2f (goal: at least 0.50)\n", median(chip) / median(plain));
    if (argc > 2 && std::string(argv[2]) == "round-trips") return 0;  // for profiling one part
    goodput(115200, 4.0, 512);
    goodput(921600, 3.0, 512);
    goodput(921600, 3.0, 4000);
    goodput(115200, 4.0, 4000);  // frames longer than the resend time on this line
    return 0;
}
