#include "transfer/rfcomm_flow_control.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "output_capture.h"
#include "transport/word_fifo.h"

namespace kestrel {
namespace {

AttachedPrimitive data_req(uint16_t payload_length) {
    AttachedPrimitive p;
    p.bytes.assign(12, 0);
    put_le16(p.bytes.data(), RfcommFlowControl::kDataReq);
    put_le16(p.bytes.data() + 8, payload_length);
    return p;
}

AttachedPrimitive data_ind(uint8_t mux, uint8_t server, uint16_t credits) {
    AttachedPrimitive p;
    p.bytes.assign(20, 0);
    put_le16(p.bytes.data(), RfcommFlowControl::kDataInd);
    p.bytes[4] = mux;
    p.bytes[5] = server;
    put_le16(p.bytes.data() + 6, credits);
    return p;
}

struct Chip {
    std::vector<uint16_t> issued;      // payload lengths, in the order sent
    std::vector<uint16_t> forwarded;   // types passed to the receive queue
    RfcommFlowControl make(RfcommFlowControl::Transport transport) {
        return RfcommFlowControl(
            transport, [this](AttachedPrimitive&& p) { issued.push_back(get_le16(p.bytes.data() + 8)); },
            [this](const AttachedPrimitive& p) { forwarded.push_back(p.type()); });
    }
};

TEST(RfcommFlowControl, AccountsTheH4TunnelOverhead) {
    Chip chip;
    auto h4 = chip.make(RfcommFlowControl::Transport::h4);
    auto ptsp = chip.make(RfcommFlowControl::Transport::ptsp);
    EXPECT_EQ(h4.accounted_size(data_req(100), 12), 117);
    EXPECT_EQ(h4.accounted_size(data_req(241), 12), 258);
    EXPECT_EQ(h4.accounted_size(data_req(242), 12), 264);
    EXPECT_EQ(ptsp.accounted_size(data_req(100), 12), 112);
    EXPECT_EQ(ptsp.accounted_size(data_req(241), 12), 253);
    EXPECT_EQ(ptsp.accounted_size(data_req(242), 12), 254);
}

TEST(RfcommFlowControl, ThePrimitiveCountHoldsBackAndACreditReleasesOne) {
    Chip chip;
    auto flow = chip.make(RfcommFlowControl::Transport::ptsp);
    flow.set_buffer_size(1'000'000);
    for (uint16_t i = 0; i < 1000; ++i) flow.submit(data_req(i + 1), 12);
    EXPECT_EQ(chip.issued.size(), 1000u);
    flow.submit(data_req(5000), 12);
    flow.submit(data_req(5001), 12);
    EXPECT_EQ(chip.issued.size(), 1000u);  // room in the buffer, but no primitive credit
    EXPECT_EQ(flow.queued(), 2u);
    flow.incoming(data_ind(0xFF, 0xFF, 1));
    ASSERT_EQ(chip.issued.size(), 1001u);
    EXPECT_EQ(chip.issued.back(), 5000);  // oldest first, never reordered
    EXPECT_EQ(flow.queued(), 1u);
    EXPECT_TRUE(chip.forwarded.empty());  // the credit never reaches a script
}

TEST(RfcommFlowControl, BufferSpaceHoldsBackUntilCredited) {
    Chip chip;
    auto flow = chip.make(RfcommFlowControl::Transport::ptsp);  // 768 bytes on the chip
    flow.submit(data_req(500), 12);
    flow.submit(data_req(500), 12);
    EXPECT_EQ(chip.issued.size(), 1u);
    flow.credit(1);  // the first one's 512 bytes come back
    EXPECT_EQ(chip.issued.size(), 2u);
    EXPECT_EQ(flow.outstanding(), 1u);
}

TEST(RfcommFlowControl, CreditTotalsWrapAndSurplusIsFatal) {
    test::OutputCapture console;
    Chip chip;
    auto flow = chip.make(RfcommFlowControl::Transport::ptsp);
    flow.credit(0xFFFF);  // 65535 credits for nothing sent
    EXPECT_TRUE(flow.fatal());
    console.take();
    for (int i = 0; i < 3; ++i) flow.submit(data_req(10), 12);
    flow.credit(0x0001);  // wraps: two credits
    EXPECT_EQ(flow.outstanding(), 1u);
    EXPECT_EQ(console.take(), "");
    flow.credit(0x0003);  // two more, one of them surplus
    EXPECT_EQ(console.take(),
              "Possible fatal error, too many flow control credits have\n"
              "been received than sent to the chip.\n");
}

TEST(RfcommFlowControl, WithFlowControlOffCreditsReachTheQueue) {
    Chip chip;
    auto flow = chip.make(RfcommFlowControl::Transport::ptsp);
    EXPECT_TRUE(flow.disable_and_drain());
    flow.incoming(data_ind(0xFF, 0xFF, 4));
    flow.incoming(data_ind(1, 2, 0));
    EXPECT_EQ(chip.forwarded.size(), 2u);
    flow.submit(data_req(2000), 12);  // no accounting: straight to the chip
    EXPECT_EQ(chip.issued.size(), 1u);
    flow.enable();
    flow.incoming(data_ind(1, 0xFF, 0));  // only mux and server both 0xFF make a credit
    EXPECT_EQ(chip.forwarded.size(), 3u);
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
