// The throughput engines against a stand-in link: what they send, what they
// take from the receive queue, how they end, and what they report.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "decode/received_primitives.h"
#include "sim/stack_primitive.h"
#include "transfer/data_primitives.h"
#include "transfer/payload_generator.h"
#include "transfer/transfer_list.h"
#include "transport/channel.h"
#include "transport/platform/message_codec.h"
#include "transport/primitive_ring.h"

namespace kestrel {
namespace {

using Outcome = TransferResult::Outcome;
constexpr uint16_t kCid = 0x40;

// A received primitive as the link hands it on: built by name, through the
// wire encoding.
AttachedPrimitive received(const sim::ChipPrimitive& built) {
    const std::vector<uint8_t> message = built.encode();
    const PrimitiveDef& row = built.row();
    return *decode_stack_message(message, row.size, pointer_offsets(row));
}

// The link stand-in: keeps what the engines send, and a real receive queue.
struct Link final : TransferPort {
    std::mutex mutex;
    std::vector<AttachedPrimitive> l2cap, rfcomm;
    PrimitiveRing ring{32768, 5};

    void send_l2cap(AttachedPrimitive primitive) override {
        std::lock_guard lock(mutex);
        l2cap.push_back(std::move(primitive));
    }
    void send_rfcomm(AttachedPrimitive primitive) override {
        std::lock_guard lock(mutex);
        rfcomm.push_back(std::move(primitive));
    }
    std::optional<std::vector<uint8_t>> take_queued(uint32_t channel,
                                                    const std::function<bool(const PrimitiveView&)>& wanted) override {
        return ring.take_oldest_if(channel, [&](const uint8_t* p, uint32_t size) {
            return wanted(PrimitiveView::record(p, size));
        });
    }
};

// The payloads the far end sends: the generator's sequence from 0.
struct FarEnd {
    PayloadGenerator generator;
    uint32_t seed = 0;
    std::vector<uint8_t> next(uint16_t length) { return *generator.generate(length, 0, &seed, kPayloadUseCounter); }
};

AttachedPrimitive read_ind(uint16_t cid, std::vector<uint8_t> data) {
    return received(sim::ChipPrimitive("L2CA_DATAREAD_IND").set("cid", cid).set("length", data.size()).block("data", data));
}

AttachedPrimitive write_cfm(uint16_t cid, uint16_t result = 0) {
    return received(sim::ChipPrimitive("L2CA_DATAWRITE_CFM").set("cid", cid).set("length", 100).set("result", result));
}

AttachedPrimitive data_ind(uint8_t mux, uint8_t chan, uint16_t credits, std::vector<uint8_t> payload = {}) {
    sim::ChipPrimitive p("RFC_DATA_IND");
    p.set("mux_id", mux).set("server_chan", chan).set("credits", credits);
    if (!payload.empty()) p.block("payload", payload);
    return received(p);
}

uint16_t field(const AttachedPrimitive& p, const FieldDef& f) {
    return static_cast<uint16_t>(field_value(PrimitiveView::attached(p), f));
}

class TransferEngine : public ::testing::Test {
protected:
    Link link;
    PayloadGenerator generator;
    TransferList list{link, generator};
    FarEnd far;
};

TEST_F(TransferEngine, ReceiveOnlyBulkSendsNothingAndFinishesAtTheLastGoodPayload) {
    TransferEvent* done = list.start_l2cap({.cid = kCid, .payload_length = 100, .tx_target = 0, .rx_target = 5});
    ASSERT_NE(done, nullptr);
    EXPECT_TRUE(link.l2cap.empty());
    // Another channel's data is not this transfer's.
    EXPECT_FALSE(list.offer_l2cap(read_ind(kCid + 1, far.next(100))));
    far.seed = 0;
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(list.offer_l2cap(read_ind(kCid, far.next(100))));
    EXPECT_FALSE(done->wait_for(std::chrono::milliseconds(0)));
    EXPECT_EQ(list.rx_view(TransferKey::l2cap(kCid))->load(), 4);
    EXPECT_TRUE(list.offer_l2cap(read_ind(kCid, far.next(100))));
    EXPECT_TRUE(done->wait_for(std::chrono::milliseconds(0)));
    const TransferResult result = list.result(TransferKey::l2cap(kCid));
    EXPECT_EQ(result.outcome, Outcome::finished);
    EXPECT_EQ(result.texts[1], "0");
    EXPECT_EQ(result.texts[2], "5");
    EXPECT_EQ(result.texts[3], "0");
    EXPECT_EQ(result.texts[4], "500");
    EXPECT_EQ(list.active_l2cap(), 0);
    // Once finished, the channel's data goes to the queue again.
    EXPECT_FALSE(list.offer_l2cap(read_ind(kCid, far.next(100))));
}

TEST_F(TransferEngine, DataQueuedBeforeAReceiveOnlyStartIsCheckedFirst) {
    link.ring.push(kChannelL2cap, read_ind(kCid, far.next(20)));
    link.ring.push(kChannelL2cap, read_ind(kCid, far.next(20)));
    link.ring.push(kChannelL2cap, read_ind(kCid + 1, {1, 2, 3}));
    const std::vector<uint8_t> third = far.next(20);
    link.ring.push(kChannelL2cap, read_ind(kCid, third));
    TransferEvent* done = list.start_l2cap({.cid = kCid, .payload_length = 20, .rx_target = 4});
    // The drain stops at the first primitive that is not this channel's
    // data; what lies behind it stays for the script too.
    EXPECT_EQ(list.rx_view(TransferKey::l2cap(kCid))->load(), 2);
    EXPECT_EQ(link.ring.records_waiting(), 2u);
    uint32_t channel = 0, size = 0;
    const uint8_t* other = link.ring.take(false, &channel, &size);
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(get_le16(other + 4), kCid + 1);
    ASSERT_NE(link.ring.take(false, &channel, &size), nullptr);
    EXPECT_TRUE(list.offer_l2cap(read_ind(kCid, third)));
    EXPECT_FALSE(done->wait_for(std::chrono::milliseconds(0)));
    EXPECT_TRUE(list.offer_l2cap(read_ind(kCid, far.next(20))));
    EXPECT_TRUE(done->wait_for(std::chrono::milliseconds(0)));
    EXPECT_EQ(list.result(TransferKey::l2cap(kCid)).texts[2], "4");
}

TEST_F(TransferEngine, TheFirstEventDrainsWhatArrivedWhileTheFirstWriteWasOut) {
    TransferEvent* done = list.start_l2cap({.cid = kCid, .payload_length = 20, .tx_target = 1, .rx_target = 3});
    // Data the offer did not take (as if it came before the start) waits in
    // the queue; the read that is being read by a script stays put.
    link.ring.push(kChannelDm, std::vector<uint8_t>{0x01, 0x00});
    link.ring.push(kChannelL2cap, read_ind(kCid, far.next(20)));
    link.ring.push(kChannelL2cap, read_ind(kCid, far.next(20)));
    uint32_t channel = 0;
    const uint8_t* held = link.ring.take(false, &channel);
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(channel, kChannelDm);
    EXPECT_TRUE(list.offer_l2cap(write_cfm(kCid)));
    EXPECT_EQ(held[0], 0x01);
    EXPECT_EQ(list.rx_view(TransferKey::l2cap(kCid))->load(), 2);
    EXPECT_EQ(link.ring.records_waiting(), 0u);
    EXPECT_TRUE(list.offer_l2cap(read_ind(kCid, far.next(20))));
    EXPECT_TRUE(done->wait_for(std::chrono::milliseconds(0)));
}

TEST_F(TransferEngine, EachConfirmationSendsTheNextPayloadUntilTheTarget) {
    TransferEvent* done = list.start_l2cap({.cid = kCid, .payload_length = 30, .tx_target = 3, .rx_target = 0});
    const DataPrimitives& d = data_primitives();
    for (int i = 0; i < 3; ++i) list.offer_l2cap(write_cfm(kCid));
    ASSERT_EQ(link.l2cap.size(), 3u);
    FarEnd expected;
    for (const AttachedPrimitive& p : link.l2cap) {
        EXPECT_EQ(field(p, *d.write_cid), kCid);
        EXPECT_EQ(field(p, *d.write_length), 30);
        const auto data = p.block_at(d.write_data->offset);
        EXPECT_EQ(std::vector<uint8_t>(data.begin(), data.end()), expected.next(30));
    }
    EXPECT_TRUE(done->wait_for(std::chrono::milliseconds(0)));
    EXPECT_EQ(list.result(TransferKey::l2cap(kCid)).texts[3], "90");
}

TEST_F(TransferEngine, ACorruptPayloadEndsTheTransferWithTheFivePartReport) {
    TransferEvent* done = list.start_l2cap({.cid = kCid, .payload_length = 4, .tx_target = 0, .rx_target = 3});
    list.offer_l2cap(read_ind(kCid, far.next(4)));
    const std::vector<uint8_t> good = far.next(4);
    std::vector<uint8_t> bad = good;
    bad[2] ^= 0x81;
    list.offer_l2cap(read_ind(kCid, bad));
    EXPECT_TRUE(done->wait_for(std::chrono::milliseconds(0)));
    const TransferResult result = list.result(TransferKey::l2cap(kCid));
    ASSERT_EQ(result.outcome, Outcome::failed);
    EXPECT_EQ(result.texts[0], "\nError, Payload validation failure (1 [2] errors, first at offset 2)\n");
    EXPECT_EQ(result.texts[1], "\nPayload 2 expecting:\n");
    char expected[64];
    std::snprintf(expected, sizeof expected, "0x%02x 0x%02x 0x%02x 0x%02x", good[0], good[1], good[2], good[3]);
    EXPECT_EQ(result.texts[2], expected);
    EXPECT_EQ(result.texts[3], "\n\nPayload got:\n");
    std::snprintf(expected, sizeof expected, "0x%02x 0x%02x 0x%02x 0x%02x", bad[0], bad[1], bad[2], bad[3]);
    EXPECT_EQ(result.texts[4], expected);
    EXPECT_EQ(list.active_l2cap(), 0);
}

TEST_F(TransferEngine, AFailedWriteEndsTheTransfer) {
    TransferEvent* done = list.start_l2cap({.cid = kCid, .payload_length = 10, .tx_target = 5});
    list.offer_l2cap(write_cfm(kCid));
    list.offer_l2cap(write_cfm(kCid, 0x0d));
    EXPECT_TRUE(done->wait_for(std::chrono::milliseconds(0)));
    const TransferResult result = list.result(TransferKey::l2cap(kCid));
    ASSERT_EQ(result.outcome, Outcome::failed);
    EXPECT_EQ(result.texts[0], "\nError, DATAWRITE failure (13)\n");
    EXPECT_EQ(result.texts[1], "\nPayload 2 failed:\n");
    EXPECT_EQ(result.texts[2], "");
    EXPECT_EQ(link.l2cap.size(), 2u);
}

TEST_F(TransferEngine, ACancelledTransferStopsSendingAndIsNotSignalled) {
    TransferEvent* done = list.start_l2cap({.cid = kCid, .payload_length = 10, .tx_target = 1000, .rx_target = 1000});
    list.offer_l2cap(write_cfm(kCid));
    EXPECT_EQ(link.l2cap.size(), 2u);
    list.cancel(TransferKey::l2cap(kCid + 1));  // another key: ignored
    list.offer_l2cap(write_cfm(kCid));
    EXPECT_EQ(link.l2cap.size(), 3u);
    list.cancel(std::nullopt);
    EXPECT_TRUE(list.offer_l2cap(write_cfm(kCid)));
    EXPECT_EQ(link.l2cap.size(), 3u);
    EXPECT_FALSE(done->wait_for(std::chrono::milliseconds(0)));
    EXPECT_EQ(list.active_l2cap(), 0);
    EXPECT_FALSE(list.offer_l2cap(write_cfm(kCid)));
    // Polled, it still reports where it stopped.
    const TransferResult result = list.result(TransferKey::l2cap(kCid));
    EXPECT_EQ(result.outcome, Outcome::running);
    EXPECT_EQ(result.texts[1], "3");
}

TEST(TransferResults, TimesCountsAndRates) {
    TransferRecord record;
    record.key = TransferKey::l2cap(kCid);
    record.state = TransferState::finished;
    record.payload_length = 100;
    record.tx_target = record.rx_target = record.tx_count = record.rx_count = 50;
    record.start_time = 0xFFFFFC18u;  // the clock wraps during the test
    record.end_time = 1000;
    TransferResult r = transfer_result(record, 0);
    EXPECT_EQ(r.outcome, Outcome::finished);
    const std::array<std::string, 7> finished{"2.00", "50", "50", "5000", "5000", "2.50", "2.50"};
    for (size_t i = 0; i < finished.size(); ++i) EXPECT_EQ(r.texts[i], finished[i]) << i;

    // A bulk test's rates count its targets; a timed test's what it moved.
    record.rx_count = 10;
    r = transfer_result(record, 0);
    EXPECT_EQ(r.texts[4], "1000");
    EXPECT_EQ(r.texts[6], "2.50");
    record.timed = true;
    r = transfer_result(record, 0);
    EXPECT_EQ(r.texts[6], "0.50");
    record.end_time = record.start_time;
    EXPECT_EQ(transfer_result(record, 0).texts[5], "0.00");

    // Running: each poll gives the rates since the poll before.
    record.state = TransferState::receiving;
    record.start_time = record.report_time = 1000;
    record.tx_count = 40;
    record.rx_count = 20;
    record.tx_reported = record.rx_reported = 0;
    r = transfer_result(record, 3000);
    EXPECT_EQ(r.outcome, Outcome::running);
    EXPECT_EQ(r.texts[0], "2.00");
    EXPECT_EQ(r.texts[5], "2.00");
    EXPECT_EQ(r.texts[6], "1.00");
    record.tx_count = 50;
    r = transfer_result(record, 4000);
    EXPECT_EQ(r.texts[0], "1.00");
    EXPECT_EQ(r.texts[1], "50");
    EXPECT_EQ(r.texts[5], "1.00");
    EXPECT_EQ(r.texts[6], "0.00");

    record.state = TransferState::started;
    EXPECT_EQ(transfer_result(record, 4000).outcome, Outcome::unknown_state);
}

TEST_F(TransferEngine, RfcommSendsOnlyOnTheCreditsThePeerGrants) {
    const DataPrimitives& d = data_primitives();
    TransferEvent* done = list.start_rfcomm({.mux_id = 1, .server_chan = 2, .payload_length = 8, .tx_credits = 0,
                                             .rx_credits = 0, .tx_target = 5, .rx_target = 0});
    ASSERT_NE(done, nullptr);
    EXPECT_TRUE(link.rfcomm.empty());
    EXPECT_TRUE(list.offer_rfcomm(data_ind(1, 2, 3)));
    ASSERT_EQ(link.rfcomm.size(), 3u);
    EXPECT_EQ(field(link.rfcomm[0], *d.req_mux_id), 1);
    EXPECT_EQ(field(link.rfcomm[0], *d.req_server_chan), 2);
    EXPECT_EQ(field(link.rfcomm[0], *d.req_credits), 0);
    EXPECT_EQ(field(link.rfcomm[0], *d.req_payload_length), 8);
    EXPECT_FALSE(list.offer_rfcomm(data_ind(1, 3, 3)));  // another channel
    EXPECT_TRUE(list.offer_rfcomm(data_ind(1, 2, 7)));
    EXPECT_EQ(link.rfcomm.size(), 5u);
    EXPECT_TRUE(done->wait_for(std::chrono::milliseconds(0)));
    const TransferResult result = list.result(TransferKey::dlc(1, 2));
    EXPECT_EQ(result.texts[7], "5");  // 3 + 7 granted, 5 used
    EXPECT_EQ(result.texts[8], "0");
}

TEST_F(TransferEngine, RfcommGrantsMoreCreditsWhenThePeersFallBelowTheThreshold) {
    const DataPrimitives& d = data_primitives();
    list.start_rfcomm({.mux_id = 1, .server_chan = 2, .payload_length = 8, .tx_credits = 0, .rx_credits = 5,
                       .rx_reissue_threshold = 2, .rx_reissue_credits = 3, .tx_target = 0, .rx_target = 100});
    EXPECT_TRUE(link.rfcomm.empty());
    for (int i = 0; i < 3; ++i) list.offer_rfcomm(data_ind(1, 2, 0, far.next(8)));
    EXPECT_TRUE(link.rfcomm.empty());  // 2 left: not below the threshold
    EXPECT_EQ(list.result(TransferKey::dlc(1, 2)).texts[8], "2");
    list.offer_rfcomm(data_ind(1, 2, 0, far.next(8)));
    ASSERT_EQ(link.rfcomm.size(), 1u);
    EXPECT_EQ(field(link.rfcomm[0], *d.req_credits), 3);
    EXPECT_EQ(field(link.rfcomm[0], *d.req_payload_length), 0);
    EXPECT_TRUE(link.rfcomm[0].block_at(d.req_payload->offset).empty());
    EXPECT_EQ(list.result(TransferKey::dlc(1, 2)).texts[8], "4");
}

TEST_F(TransferEngine, RfcommReceiveOnlyCompletesOnlyAtTheNextIndication) {
    for (int i = 0; i < 3; ++i) link.ring.push(kChannelRfcomm, data_ind(1, 2, 1, far.next(8)));
    TransferEvent* done = list.start_rfcomm({.mux_id = 1, .server_chan = 2, .payload_length = 8, .rx_credits = 10,
                                             .tx_target = 0, .rx_target = 3});
    EXPECT_EQ(list.rx_view(TransferKey::dlc(1, 2))->load(), 3);
    EXPECT_EQ(link.ring.records_waiting(), 0u);
    EXPECT_FALSE(done->wait_for(std::chrono::milliseconds(0)));
    EXPECT_TRUE(list.offer_rfcomm(data_ind(1, 2, 1)));
    EXPECT_TRUE(done->wait_for(std::chrono::milliseconds(0)));
    const TransferResult result = list.result(TransferKey::dlc(1, 2));
    EXPECT_EQ(result.texts[7], "4");
    EXPECT_EQ(result.texts[8], "7");
}

// The engine on a receive thread, the interpreter thread polling: an echo
// through a chip thread, 2000 payloads each way.
TEST(TransferEngineThreads, AnEchoedBulkTransferWhileTheInterpreterPolls) {
    struct EchoLink final : TransferPort {
        std::mutex mutex;
        std::condition_variable sent;
        std::deque<AttachedPrimitive> outbox;
        PrimitiveRing ring{32768, 5};
        void send_l2cap(AttachedPrimitive p) override {
            {
                std::lock_guard lock(mutex);
                outbox.push_back(std::move(p));
            }
            sent.notify_one();
        }
        void send_rfcomm(AttachedPrimitive) override {}
        std::optional<std::vector<uint8_t>> take_queued(uint32_t channel,
                                                        const std::function<bool(const PrimitiveView&)>& wanted) override {
            return ring.take_oldest_if(channel, [&](const uint8_t* p, uint32_t size) {
                return wanted(PrimitiveView::record(p, size));
            });
        }
    } link;
    PayloadGenerator generator;
    TransferList list(link, generator);
    std::atomic<bool> stop{false};
    std::thread chip([&] {
        const DataPrimitives& d = data_primitives();
        while (!stop) {
            std::unique_lock lock(link.mutex);
            if (!link.sent.wait_for(lock, std::chrono::milliseconds(10), [&] { return !link.outbox.empty(); })) continue;
            AttachedPrimitive p = std::move(link.outbox.front());
            link.outbox.pop_front();
            lock.unlock();
            const auto data = p.block_at(d.write_data->offset);
            list.offer_l2cap(write_cfm(kCid));
            list.offer_l2cap(read_ind(kCid, {data.begin(), data.end()}));
        }
    });
    TransferEvent* done = list.start_l2cap({.cid = kCid, .payload_length = 50, .tx_target = 2000, .rx_target = 2000});
    ASSERT_NE(done, nullptr);
    int32_t seen = 0;
    while (!done->wait_for(std::chrono::milliseconds(1))) {
        list.results();
        const int32_t now = list.tx_view(TransferKey::l2cap(kCid))->load();
        EXPECT_GE(now, seen);  // the counter only grows
        seen = now;
    }
    stop = true;
    chip.join();
    const TransferResult result = list.result(TransferKey::l2cap(kCid));
    EXPECT_EQ(result.outcome, Outcome::finished);
    EXPECT_EQ(result.texts[1], "2000");
    EXPECT_EQ(result.texts[2], "2000");
}

}  // namespace
}  // namespace kestrel
