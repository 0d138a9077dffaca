// The conditioned line: when its bytes become due (exact, with the clock
// passed in), how it damages them, and the adapter's stream behaviour.
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <chrono>
#include <thread>

#include "sim/link_conditions.h"

namespace kestrel::sim {
namespace {

using Clock = LineQueue::Clock;
using std::chrono::milliseconds;

std::vector<uint8_t> bytes(size_t count, uint8_t first = 0) {
    std::vector<uint8_t> out(count);
    for (size_t i = 0; i < count; ++i) out[i] = static_cast<uint8_t>(first + i);
    return out;
}

std::vector<uint8_t> take(LineQueue& queue, Clock::time_point now, size_t room = 4096) {
    std::vector<uint8_t> out(room);
    out.resize(queue.take(now, out));
    return out;
}

const Clock::time_point t0 = Clock::now();

TEST(SimLineQueue, UnconditionedBytesAreDueAtOnce) {
    LineQueue queue(1);
    queue.push(bytes(3, 7), t0, {});
    EXPECT_EQ(take(queue, t0), bytes(3, 7));
    EXPECT_TRUE(queue.empty());
    EXPECT_FALSE(queue.next_due());
}

TEST(SimLineQueue, PacedBytesFollowEachOtherAtTenBitsEach) {
    LineQueue queue(1);
    const LinkConditions uart{.baud = 1000};  // 10 ms a byte
    queue.push(bytes(5), t0, uart);
    EXPECT_TRUE(take(queue, t0 + milliseconds(9)).empty());
    EXPECT_EQ(take(queue, t0 + milliseconds(10)), bytes(1));
    EXPECT_EQ(take(queue, t0 + milliseconds(35)), bytes(2, 1));
    EXPECT_EQ(queue.next_due(), t0 + milliseconds(40));
    // A burst handed over while the line is busy goes after the first.
    queue.push(bytes(2, 100), t0 + milliseconds(20), uart);
    EXPECT_EQ(take(queue, t0 + milliseconds(59)), bytes(2, 3));
    EXPECT_EQ(take(queue, t0 + milliseconds(60)), bytes(1, 100));
    EXPECT_EQ(take(queue, t0 + milliseconds(70)), bytes(1, 101));
    EXPECT_TRUE(queue.empty());
    // An idle line starts again from the moment of handing over.
    queue.push(bytes(1), t0 + milliseconds(500), uart);
    EXPECT_EQ(queue.next_due(), t0 + milliseconds(510));
}

TEST(SimLineQueue, LatencyDelaysEveryByte) {
    LineQueue queue(1);
    queue.push(bytes(4), t0, {.latency_ms = 30});
    EXPECT_TRUE(take(queue, t0 + milliseconds(29)).empty());
    EXPECT_EQ(take(queue, t0 + milliseconds(30)), bytes(4));
    queue.push(bytes(2), t0, {.baud = 1000, .latency_ms = 30});
    EXPECT_EQ(queue.next_due(), t0 + milliseconds(40));
    EXPECT_EQ(take(queue, t0 + milliseconds(45)), bytes(1));
}

TEST(SimLineQueue, TakesWhatFitsAcrossBursts) {
    LineQueue queue(1);
    queue.push(bytes(3), t0, {});
    queue.push(bytes(3, 3), t0, {});
    EXPECT_EQ(take(queue, t0, 4), bytes(4));
    EXPECT_EQ(queue.queued(), 2u);
    EXPECT_EQ(take(queue, t0, 4), bytes(2, 4));
}

TEST(SimLineQueue, FaultsHitOneByteOfABurst) {
    LineQueue queue(5);
    const std::vector<uint8_t> burst = bytes(50);
    for (int i = 0; i < 20; ++i) {
        queue.push(burst, t0, {.drop_rate = 1.0});
        EXPECT_EQ(take(queue, t0).size(), burst.size() - 1);
    }
    EXPECT_EQ(queue.dropped(), 20u);
    for (int i = 0; i < 20; ++i) {
        queue.push(burst, t0, {.corrupt_rate = 1.0});
        const auto out = take(queue, t0);
        ASSERT_EQ(out.size(), burst.size());
        int flipped_bits = 0;
        for (size_t b = 0; b < out.size(); ++b) flipped_bits += __builtin_popcount(out[b] ^ burst[b]);
        EXPECT_EQ(flipped_bits, 1);
    }
    EXPECT_EQ(queue.corrupted(), 20u);
    for (int i = 0; i < 200; ++i) queue.push(burst, t0, {});
    EXPECT_EQ(queue.queued(), 200 * burst.size());
    EXPECT_EQ(queue.dropped() + queue.corrupted(), 40u);
}

TEST(SimLineQueue, TheSeedDecidesTheDamage) {
    auto run = [](uint32_t seed) {
        LineQueue queue(seed);
        std::vector<uint8_t> all;
        for (int i = 0; i < 50; ++i) {
            queue.push(bytes(100), t0, {.drop_rate = 0.5, .corrupt_rate = 0.5});
            const auto out = take(queue, t0);
            all.insert(all.end(), out.begin(), out.end());
        }
        return all;
    };
    EXPECT_EQ(run(9), run(9));
    EXPECT_NE(run(9), run(10));
}

// --- The adapter on a socket pair --------------------------------------------

struct Pair {
    Pair() {
        int ends[2];
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        line = std::make_unique<ConditionedStream>(make_fd_byte_stream(ends[0], "chip"), LinkConditions{});
        peer = make_fd_byte_stream(ends[1], "host");
        std::string error;
        EXPECT_TRUE(line->open(error)) << error;
    }

    // Everything `stream` gives until `count` bytes or its end.
    static std::vector<uint8_t> read_bytes(ByteStream& stream, size_t count) {
        std::vector<uint8_t> out, buffer(8192);
        const auto deadline = Clock::now() + std::chrono::seconds(20);
        while (out.size() < count && Clock::now() < deadline) {
            const long got = stream.read(buffer, 100);
            if (got < 0) break;
            out.insert(out.end(), buffer.begin(), buffer.begin() + got);
        }
        return out;
    }

    std::unique_ptr<ConditionedStream> line;
    std::unique_ptr<ByteStream> peer;
};

TEST(SimConditionedStream, CarriesBothDirectionsInOrder) {
    Pair pair;
    std::vector<uint8_t> big(100'000);
    for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<uint8_t>(i * 31);
    std::thread writer([&] {
        for (size_t at = 0; at < big.size(); at += 1000)
            pair.line->write({big.data() + at, std::min<size_t>(1000, big.size() - at)});
    });
    EXPECT_EQ(Pair::read_bytes(*pair.peer, big.size()), big);
    writer.join();
    ASSERT_TRUE(pair.peer->write(big));
    EXPECT_EQ(Pair::read_bytes(*pair.line, big.size()), big);
}

TEST(SimConditionedStream, EndsAfterTheLastByteOfADepartedHost) {
    Pair pair;
    pair.line->set_conditions({.latency_ms = 20});
    ASSERT_TRUE(pair.peer->write(bytes(10)));
    pair.peer->close();
    EXPECT_EQ(Pair::read_bytes(*pair.line, 10), bytes(10));  // delayed, not lost
    std::vector<uint8_t> buffer(16);
    EXPECT_EQ(pair.line->read(buffer, 1000), -1);
}

TEST(SimConditionedStream, InterruptWakesAReadAndCloseEndsEverything) {
    Pair pair;
    long result = 99;
    std::thread reader([&] {
        std::vector<uint8_t> buffer(16);
        result = pair.line->read(buffer, -1);
    });
    std::this_thread::sleep_for(milliseconds(20));
    pair.line->interrupt();
    reader.join();
    EXPECT_EQ(result, 0);

    pair.line->close();
    std::vector<uint8_t> buffer(16);
    EXPECT_EQ(pair.line->read(buffer, 0), -1);
    EXPECT_FALSE(pair.line->write(bytes(3)));
    std::string error;
    EXPECT_FALSE(pair.line->open(error));
}

TEST(SimConditionedStream, ConditionsChangeWhileRunning) {
    Pair pair;
    ASSERT_TRUE(pair.line->write(bytes(10)));
    EXPECT_EQ(Pair::read_bytes(*pair.peer, 10), bytes(10));
    pair.line->set_conditions({.drop_rate = 1.0});
    for (int i = 0; i < 10; ++i) ASSERT_TRUE(pair.line->write(bytes(10)));
    EXPECT_EQ(Pair::read_bytes(*pair.peer, 90).size(), 90u);
    EXPECT_EQ(pair.line->bytes_dropped(), 10u);
    EXPECT_EQ(pair.line->conditions().drop_rate, 1.0);
}

}  // namespace
}  // namespace kestrel::sim
