#include "transfer/rfcomm_flow_control.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "output_capture.h"
#include "transport/word_fifo.h"

namespace kestrel {
namespace {

using namespace std::chrono_literals;
using Flow = RfcommFlowControl;

// Data primitives as the builders lay them out (12 bytes): RFC_DATA_REQ and
// RFC_DATAWRITE_REQ carry payload_length at 6, RFC_TEST_REQ test_data_length
// at 4. A tag at 2 tells the primitives apart once issued.
AttachedPrimitive data_prim(uint16_t type, uint16_t length, uint16_t tag = 0) {
    AttachedPrimitive p;
    p.bytes.assign(12, 0);
    put_le16(p.bytes.data(), type);
    put_le16(p.bytes.data() + 2, tag);
    put_le16(p.bytes.data() + (type == Flow::kTestReq ? 4 : 6), length);
    return p;
}

AttachedPrimitive data_req(uint16_t length, uint16_t tag = 0) { return data_prim(Flow::kDataReq, length, tag); }

// RFC_DATA_IND as received (20 bytes): mux_id at 4, server_chan at 5,
// credits at 6.
AttachedPrimitive data_ind(uint8_t mux, uint8_t server, uint16_t credits) {
    AttachedPrimitive p;
    p.bytes.assign(20, 0);
    put_le16(p.bytes.data(), Flow::kDataInd);
    p.bytes[4] = mux;
    p.bytes[5] = server;
    put_le16(p.bytes.data() + 6, credits);
    return p;
}

const char kSurplus[] =
    "Possible fatal error, too many flow control credits have\n"
    "been received than sent to the chip.\n";

struct Chip {
    std::vector<uint16_t> issued;     // tags, in the order sent
    std::vector<uint16_t> forwarded;  // credits fields of what reached the receive queue
    Flow make(Flow::Transport transport) {
        return Flow(
            transport, [this](AttachedPrimitive&& p) { issued.push_back(get_le16(p.bytes.data() + 2)); },
            [this](const AttachedPrimitive& p) { forwarded.push_back(get_le16(p.bytes.data() + 6)); });
    }
};

const auto kNever = [] { return false; };

TEST(RfcommFlowControl, AccountsDataAndTheH4TunnelOverhead) {
    Chip chip;
    auto h4 = chip.make(Flow::Transport::h4);
    auto ptsp = chip.make(Flow::Transport::ptsp);
    auto usb = chip.make(Flow::Transport::usb);
    for (uint16_t type : {Flow::kDataReq, Flow::kDataWriteReq, Flow::kTestReq}) {
        SCOPED_TRACE(type);
        EXPECT_EQ(h4.accounted_size(data_prim(type, 100), 12), 117);
        EXPECT_EQ(h4.accounted_size(data_prim(type, 241), 12), 258);
        EXPECT_EQ(h4.accounted_size(data_prim(type, 242), 12), 264);
        for (const Flow* other : {&ptsp, &usb}) {
            EXPECT_EQ(other->accounted_size(data_prim(type, 100), 12), 112);
            EXPECT_EQ(other->accounted_size(data_prim(type, 241), 12), 253);
            EXPECT_EQ(other->accounted_size(data_prim(type, 242), 12), 254);
        }
    }
    EXPECT_EQ(ptsp.accounted_size(data_req(0xFFF8), 12), 4);  // only the low 16 bits are kept
}

TEST(RfcommFlowControl, ASizeWithoutLow16BitsIsIgnored) {
    Chip chip;
    auto flow = chip.make(Flow::Transport::ptsp);
    flow.submit(data_req(100), 0x10000);  // the payload would make it non-zero: not looked at
    flow.submit(data_req(100), 0);
    EXPECT_TRUE(chip.issued.empty());
    EXPECT_EQ(flow.queued(), 0u);
    EXPECT_EQ(flow.outstanding(), 0u);
}

TEST(RfcommFlowControl, ThePrimitiveCountHoldsBackAndACreditReleasesOne) {
    Chip chip;
    auto flow = chip.make(Flow::Transport::ptsp);
    flow.set_buffer_size(1'000'000);
    for (uint16_t i = 0; i < 1000; ++i) flow.submit(data_req(10, i), 12);
    EXPECT_EQ(chip.issued.size(), 1000u);
    flow.submit(data_req(10, 5000), 12);
    flow.submit(data_req(10, 5001), 12);
    EXPECT_EQ(chip.issued.size(), 1000u);  // room in the buffer, but no primitive credit
    EXPECT_EQ(flow.queued(), 2u);
    flow.incoming(data_ind(0xFF, 0xFF, 1));
    ASSERT_EQ(chip.issued.size(), 1001u);
    EXPECT_EQ(chip.issued.back(), 5000);
    EXPECT_EQ(flow.queued(), 1u);
    EXPECT_TRUE(chip.forwarded.empty());  // the credit never reaches a script
}

TEST(RfcommFlowControl, BufferSpaceHoldsBackInOrderUntilCredited) {
    Chip chip;
    auto flow = chip.make(Flow::Transport::ptsp);  // 768 bytes on the chip
    flow.submit(data_req(500, 1), 12);  // 512
    flow.submit(data_req(500, 2), 12);  // 512: does not fit beside the first
    flow.submit(data_req(10, 3), 12);   // would fit, but never overtakes
    EXPECT_EQ(chip.issued, (std::vector<uint16_t>{1}));
    flow.credit(1);
    EXPECT_EQ(chip.issued, (std::vector<uint16_t>{1, 2, 3}));
    EXPECT_EQ(flow.outstanding(), 2u);
    flow.set_buffer_size(100);  // a new size starts the byte count afresh
    flow.submit(data_req(88, 4), 12);
    flow.submit(data_req(1, 5), 12);
    EXPECT_EQ(chip.issued.size(), 4u);
    EXPECT_EQ(flow.queued(), 1u);
}

TEST(RfcommFlowControl, CreditTotalsWrap) {
    test::OutputCapture console;
    Chip chip;
    auto flow = chip.make(Flow::Transport::ptsp);
    for (uint32_t total = 1; total <= 0xFFFF; ++total) {  // walk the chip's total up to 0xFFFF
        flow.submit(data_req(1), 12);
        flow.credit(static_cast<uint16_t>(total));
    }
    EXPECT_EQ(flow.outstanding(), 0u);
    for (int i = 0; i < 3; ++i) flow.submit(data_req(10), 12);
    flow.credit(0x0001);  // 0xFFFF -> 0x0001: two credits
    EXPECT_EQ(flow.outstanding(), 1u);
    EXPECT_FALSE(flow.fatal());
    EXPECT_EQ(console.take(), "");
    flow.credit(0x0003);  // two more, one of them surplus
    EXPECT_EQ(console.take(), kSurplus);
    EXPECT_TRUE(flow.fatal());
}

TEST(RfcommFlowControl, EverySurplusCreditWarnsAndIsFatal) {
    test::OutputCapture console;
    Chip chip;
    auto flow = chip.make(Flow::Transport::ptsp);
    flow.submit(data_req(10, 1), 12);
    flow.incoming(data_ind(0xFF, 0xFF, 4));  // one credited, three too many
    EXPECT_EQ(console.take(), std::string(kSurplus) + kSurplus + kSurplus);
    EXPECT_TRUE(flow.fatal());
    EXPECT_TRUE(chip.forwarded.empty());
}

TEST(RfcommFlowControl, WithFlowControlOffCreditsReachTheQueue) {
    test::OutputCapture console;
    Chip chip;
    auto flow = chip.make(Flow::Transport::ptsp);
    EXPECT_TRUE(flow.is_credit(data_ind(0xFF, 0xFF, 1)));
    EXPECT_FALSE(flow.is_credit(data_ind(1, 0xFF, 1)));  // only mux and server both 0xFF make a credit
    EXPECT_FALSE(flow.is_credit(data_ind(0xFF, 1, 1)));
    EXPECT_EQ(flow.disable_and_drain(kNever), Flow::DrainResult::drained);
    EXPECT_FALSE(flow.enabled());
    EXPECT_FALSE(flow.is_credit(data_ind(0xFF, 0xFF, 1)));
    flow.submit(data_req(2000, 7), 12);  // no accounting: straight to the chip
    EXPECT_EQ(chip.issued, (std::vector<uint16_t>{7}));
    EXPECT_EQ(flow.outstanding(), 0u);
    flow.incoming(data_ind(0xFF, 0xFF, 5));
    flow.incoming(data_ind(1, 2, 9));
    EXPECT_EQ(chip.forwarded, (std::vector<uint16_t>{5, 9}));
    // Switched on again, counting goes on from the chip's last total.
    flow.enable();
    flow.submit(data_req(10, 8), 12);
    flow.incoming(data_ind(0xFF, 0xFF, 6));
    EXPECT_EQ(flow.outstanding(), 0u);
    EXPECT_EQ(chip.forwarded.size(), 2u);
    EXPECT_FALSE(flow.fatal());
    EXPECT_EQ(console.take(), "");
}

TEST(RfcommFlowControl, AFullListOfOutstandingSizesHoldsBack) {
    Chip chip;
    auto flow = chip.make(Flow::Transport::ptsp);
    flow.set_buffer_size(1'000'000);
    flow.set_max_primitive_count(5000);
    for (uint16_t i = 0; i < 1100; ++i) flow.submit(data_req(1, i), 12);
    EXPECT_EQ(chip.issued.size(), 1022u);  // what the list can keep
    EXPECT_EQ(flow.queued(), 78u);
    flow.credit(78);
    EXPECT_EQ(chip.issued.size(), 1100u);
    EXPECT_EQ(chip.issued.back(), 1099);
}

// A chip that credits one primitive every interval, on its own thread.
class CreditingChip {
public:
    CreditingChip(Flow& flow, int count, std::chrono::milliseconds interval)
        : thread_([&flow, count, interval] {
              for (int n = 1; n <= count; ++n) {
                  std::this_thread::sleep_for(interval);
                  flow.credit(static_cast<uint16_t>(n));
              }
          }) {}
    ~CreditingChip() { thread_.join(); }

private:
    std::thread thread_;
};

TEST(RfcommFlowControlDrain, DrainsWhileTheHeadMovesAndThenWaitsForCredits) {
    Chip chip;
    auto flow = chip.make(Flow::Transport::ptsp);
    flow.set_max_primitive_count(1);  // one at a time: each credit moves the head
    for (uint16_t i = 0; i < 8; ++i) flow.submit(data_req(10, i), 12);
    EXPECT_EQ(flow.queued(), 7u);
    {
        // 8 credits, 60 ms apart: the whole drain is longer than the stall
        // limit, but the head never stands still that long.
        CreditingChip credits(flow, 8, 60ms);
        EXPECT_EQ(flow.disable_and_drain(kNever, 400ms), Flow::DrainResult::drained);
    }
    EXPECT_FALSE(flow.enabled());
    EXPECT_EQ(chip.issued.size(), 8u);
    EXPECT_EQ(flow.outstanding(), 0u);
}

TEST(RfcommFlowControlDrain, AStallIsReportedAndHeldUntilInterrupted) {
    test::OutputCapture console;
    Chip chip;
    auto flow = chip.make(Flow::Transport::h4);
    flow.submit(data_req(500, 1), 12);  // 512 + 15 = 527 on the chip
    flow.submit(data_req(300, 2), 12);  // 312 + 10 = 322: held
    flow.submit(data_req(10, 3), 12);   // 22 + 5 = 27: held behind it
    const auto start = std::chrono::steady_clock::now();
    std::atomic<int> polls_after_report{0};
    const auto interrupted = [&] {
        // Ctrl-C a while after the stall limit: the drain must still be holding.
        if (std::chrono::steady_clock::now() - start < 400ms) return false;
        ++polls_after_report;
        return true;
    };
    EXPECT_EQ(flow.disable_and_drain(interrupted, 100ms), Flow::DrainResult::interrupted);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 400ms);
    const std::string report = console.take();
    const std::regex expected(
        "Internal error - failed to flush primitives after 30 secs\n"
        "Onchip buffer space: 241\n"
        "Outstanding flow control primitives not accounted for: 1\n"
        "\\*Prim\\[1\\] size: 527\n"
        "Outstanding primitives in queue:\n"
        "\\*Node\\[1\\]: 0x[0-9a-f]{8}, Type: 0x0018, Size: 322\n"
        "\\*Node\\[2\\]: 0x[0-9a-f]{8}, Type: 0x0018, Size: 27\n");
    EXPECT_TRUE(std::regex_match(report, expected)) << report;
    // Still on, nothing lost: the chip's credit lets the rest go.
    EXPECT_TRUE(flow.enabled());
    EXPECT_EQ(flow.outstanding(), 1u);
    flow.credit(1);
    EXPECT_EQ(chip.issued, (std::vector<uint16_t>{1, 2, 3}));
    EXPECT_EQ(console.take(), "");
}

TEST(RfcommFlowControlDrain, ACreditThatNeverComesIsAStallToo) {
    test::OutputCapture console;
    Chip chip;
    auto flow = chip.make(Flow::Transport::ptsp);
    flow.submit(data_req(10, 1), 12);  // sent, never credited: the queue itself is empty
    int polls = 0;
    const auto interrupted = [&] { return console.take().find("after 30 secs") != std::string::npos || ++polls > 5000; };
    EXPECT_EQ(flow.disable_and_drain(interrupted, 50ms), Flow::DrainResult::interrupted);
    EXPECT_LE(polls, 5000);  // ended by the report, not by the poll count
    EXPECT_TRUE(flow.enabled());
}

TEST(RfcommFlowControlDrain, AnInterruptEndsTheWaitBeforeAnyReport) {
    test::OutputCapture console;
    Chip chip;
    auto flow = chip.make(Flow::Transport::ptsp);
    flow.submit(data_req(10, 1), 12);
    EXPECT_EQ(flow.disable_and_drain([] { return true; }), Flow::DrainResult::interrupted);
    EXPECT_EQ(console.take(), "");
    EXPECT_TRUE(flow.enabled());
}

// Submits on one thread, credits from the chip's thread: every primitive
// reaches the chip once, in order, and every one is credited.
TEST(RfcommFlowControlThreads, SubmitsAndCreditsOnTwoThreads) {
    constexpr int kCount = 5000;
    std::mutex chip_mutex;
    std::condition_variable chip_wakes;
    std::deque<uint16_t> on_chip;  // issued, not yet credited
    std::vector<uint16_t> issued;
    Flow flow(
        Flow::Transport::h4,
        [&](AttachedPrimitive&& p) {
            std::lock_guard lock(chip_mutex);
            issued.push_back(get_le16(p.bytes.data() + 2));
            on_chip.push_back(issued.back());
            chip_wakes.notify_one();
        },
        [](const AttachedPrimitive&) { ADD_FAILURE() << "a credit reached the receive queue"; });
    flow.set_max_primitive_count(4);

    std::thread chip([&] {
        uint16_t total = 0;
        for (int credited = 0; credited < kCount; ++credited) {
            {
                std::unique_lock lock(chip_mutex);
                chip_wakes.wait(lock, [&] { return !on_chip.empty(); });
                on_chip.pop_front();
            }
            flow.incoming(data_ind(0xFF, 0xFF, ++total));
        }
    });
    for (int i = 0; i < kCount; ++i) flow.submit(data_req(static_cast<uint16_t>(i % 300), static_cast<uint16_t>(i)), 12);
    chip.join();

    ASSERT_EQ(issued.size(), static_cast<size_t>(kCount));
    for (int i = 0; i < kCount; ++i) ASSERT_EQ(issued[i], static_cast<uint16_t>(i));
    EXPECT_EQ(flow.queued(), 0u);
    EXPECT_EQ(flow.outstanding(), 0u);
    EXPECT_FALSE(flow.fatal());
    EXPECT_EQ(flow.disable_and_drain(kNever, 1000ms), Flow::DrainResult::drained);
}

TEST(WordFifo, OrderCountAndEmptyPop) {
    test::OutputCapture console;
    WordFifo fifo(8);
    for (uint32_t i = 1; i <= 6; ++i) EXPECT_TRUE(fifo.push(i * 10));
    EXPECT_FALSE(fifo.push(70));  // full: refused, not overwritten
    EXPECT_EQ(fifo.count(), 6u);
    for (uint32_t i = 1; i <= 6; ++i) EXPECT_EQ(fifo.pop(), i * 10);
    EXPECT_EQ(fifo.pop(), 0u);
    EXPECT_EQ(console.take(), "Nothing in FIFO, waiting for a push\n");
    for (uint32_t i = 0; i < 20; ++i) {  // around the ring
        EXPECT_TRUE(fifo.push(i));
        EXPECT_EQ(fifo.pop(), i);
    }
}

}  // namespace
}  // namespace kestrel
