// The remote peer's payloads on a real air, seen from a device of the test:
// sourced frames paced by the air and by RFCOMM credits, checked against
// the payload sequences, a sink's good and bad counts, corrupt and reset.
#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <mutex>

#include "sim/remote_peer.h"
#include "sim/test_host.h"

namespace kestrel::sim {
namespace {

using K = AirFrame::Kind;
using testing::eventually;

constexpr BdAddr kMe{0x100001, 0x5b, 0x0002};
constexpr uint16_t kMyCid = 0x40;
constexpr uint8_t kChan = 1;

// A device on the air that keeps the data frames it gets.
class Device final : public AirDevice {
public:
    DeviceInfo info() const override { return {kMe, 0, "test", false, true, 0}; }
    void from_air(const AirFrame& frame) override {
        std::lock_guard lock(mutex_);
        if (frame.kind == K::l2_connect_rsp) peer_cid_ = frame.src;
        if (frame.kind == K::l2_data) l2_.push_back(frame.data);
        if (frame.kind == K::rfc_data) rfc_.push_back(frame.data);
        if (frame.kind == K::rfc_credit) credits_ += frame.result;
    }
    std::vector<std::vector<uint8_t>> l2() const { std::lock_guard lock(mutex_); return l2_; }
    std::vector<std::vector<uint8_t>> rfc() const { std::lock_guard lock(mutex_); return rfc_; }
    uint16_t peer_cid() const { std::lock_guard lock(mutex_); return peer_cid_; }
    unsigned credits() const { std::lock_guard lock(mutex_); return credits_; }

private:
    mutable std::mutex mutex_;
    std::vector<std::vector<uint8_t>> l2_, rfc_;
    uint16_t peer_cid_ = 0;
    unsigned credits_ = 0;
};

class PeerPayloadsTest : public ::testing::Test {
protected:
    void SetUp() override {
        peer_ = RemotePeer::join(air_);
        air_->attach(kMe, device_);
    }

    void send(AirFrame frame) {
        frame.from = kMe;
        frame.to = kRemotePeerAddress;
        air_->transmit(std::move(frame));
    }
    // An L2CAP channel configured both ways.
    void open_l2cap() {
        send({.kind = K::l2_connect, .psm = 0x1001, .src = kMyCid});
        ASSERT_TRUE(eventually([&] { return device_->peer_cid() != 0; }));
        send({.kind = K::l2_config, .src = kMyCid, .dst = device_->peer_cid()});
        send({.kind = K::l2_config_rsp, .src = kMyCid, .dst = device_->peer_cid()});
    }
    // An RFCOMM data link on which the peer may send `credits` frames.
    void open_rfcomm(uint16_t credits) {
        send({.kind = K::rfc_start});
        send({.kind = K::rfc_pn, .result = credits, .chan = kChan});
        send({.kind = K::rfc_establish, .chan = kChan});
    }
    void peer_words(RemotePeer::PayloadChange change) { peer_->change_payloads(change); }
    static RemotePeer::PayloadChange source(uint32_t length, std::optional<uint64_t> count, PayloadMode mode) {
        return {.payload = mode, .mode = PeerPayloads::Mode::source, .source_length = length, .source_count = count};
    }
    static std::vector<uint8_t> expected(PayloadMode mode, uint32_t length, uint32_t& seed) {
        std::vector<uint8_t> block(length);
        fill_payload(block, static_cast<uint32_t>(mode), seed);
        return block;
    }

    std::shared_ptr<Air> air_ = std::make_shared<Air>();
    std::shared_ptr<Device> device_ = std::make_shared<Device>();
    std::shared_ptr<RemotePeer> peer_;
};

TEST_F(PeerPayloadsTest, SourceIsPacedByTheAirAndStopsWhenTheModeChanges) {
    open_l2cap();
    peer_words(source(300, std::nullopt, PayloadMode::random));
    // However long it runs, the frames sent and not yet arrived stay few:
    // two in flight and what the air's latency holds.
    for (int i = 0; i < 100; ++i) {
        const uint64_t sent = peer_->payloads().sent();
        const size_t arrived = device_->l2().size();
        ASSERT_LE(sent, arrived + 4) << "after " << i << " looks";
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_TRUE(eventually([&] { return device_->l2().size() > 20; }));
    peer_words({.mode = PeerPayloads::Mode::sink});
    ASSERT_TRUE(eventually([&] { return device_->l2().size() == peer_->payloads().sent(); }));
    const size_t stopped_at = device_->l2().size();
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(device_->l2().size(), stopped_at);

    // Every frame is the next of the generator's sequence, from 0.
    uint32_t seed = 0;
    for (const auto& frame : device_->l2()) ASSERT_EQ(frame, expected(PayloadMode::random, 300, seed));
}

TEST_F(PeerPayloadsTest, CountLimitsEachChannelAndRfcommWaitsForCredits) {
    open_l2cap();
    open_rfcomm(2);
    peer_words(source(5, 3, PayloadMode::seq16));
    ASSERT_TRUE(eventually([&] { return device_->l2().size() == 3 && device_->rfc().size() == 2; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(device_->l2().size(), 3u);
    EXPECT_EQ(device_->rfc().size(), 2u);  // out of credits
    send({.kind = K::rfc_credit, .result = 5, .chan = kChan});
    ASSERT_TRUE(eventually([&] { return device_->rfc().size() == 3; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(device_->rfc().size(), 3u);  // the count, not the credits, ends it

    // Each channel has its own sequence: payloads 0, 1, 2 of seq16.
    const std::vector<std::vector<uint8_t>> seq16 = {{0, 0, 0, 0, 0}, {1, 0, 1, 0, 1}, {2, 0, 2, 0, 2}};
    EXPECT_EQ(device_->l2(), seq16);
    EXPECT_EQ(device_->rfc(), seq16);

    // A new "source" gives each channel COUNT more, the sequence running on.
    peer_words(source(5, 1, PayloadMode::seq16));
    ASSERT_TRUE(eventually([&] { return device_->l2().size() == 4 && device_->rfc().size() == 4; }));
    EXPECT_EQ(device_->l2().back(), (std::vector<uint8_t>{3, 0, 3, 0, 3}));

    // A source checks what arrives as a sink does, and echoes nothing.
    uint32_t seed = 0;
    send({.kind = K::l2_data, .src = kMyCid, .dst = device_->peer_cid(), .data = expected(PayloadMode::seq16, 5, seed)});
    send({.kind = K::l2_data, .src = kMyCid, .dst = device_->peer_cid(), .data = {0, 0, 0, 0, 0}});
    ASSERT_TRUE(eventually([&] { return peer_->payloads().good() + peer_->payloads().bad() == 2; }));
    EXPECT_EQ(peer_->payloads().good(), 1u);
    EXPECT_EQ(device_->l2().size(), 4u);
}

TEST_F(PeerPayloadsTest, SinkCountsGoodAndBadPerChannelAndReturnsCredits) {
    open_l2cap();
    open_rfcomm(7);
    peer_words({.payload = PayloadMode::seq8, .mode = PeerPayloads::Mode::sink});
    uint32_t l2_seed = 0, rfc_seed = 0;
    for (int i = 0; i < 3; ++i) {
        send({.kind = K::l2_data, .src = kMyCid, .dst = device_->peer_cid(), .data = expected(PayloadMode::seq8, 9, l2_seed)});
        send({.kind = K::rfc_data, .chan = kChan, .data = expected(PayloadMode::seq8, 4, rfc_seed)});
    }
    send({.kind = K::l2_data, .src = kMyCid, .dst = device_->peer_cid(), .data = {9, 9}});
    ASSERT_TRUE(eventually([&] { return peer_->payloads().good() == 6 && peer_->payloads().bad() == 1; }));
    // The credits cross the air after the counting: wait for them, then
    // check that no more came.
    EXPECT_TRUE(eventually([&] { return device_->credits() >= 3; }));
    EXPECT_EQ(device_->credits(), 3u);
    EXPECT_TRUE(device_->l2().empty());

    // Reset: counts to zero and both sequences from 0 again.
    peer_words({.reset = true});
    EXPECT_EQ(peer_->payloads().good(), 0u);
    l2_seed = rfc_seed = 0;
    send({.kind = K::l2_data, .src = kMyCid, .dst = device_->peer_cid(), .data = expected(PayloadMode::seq8, 9, l2_seed)});
    send({.kind = K::rfc_data, .chan = kChan, .data = expected(PayloadMode::seq8, 4, rfc_seed)});
    ASSERT_TRUE(eventually([&] { return peer_->payloads().good() == 2; }));
    EXPECT_EQ(peer_->payloads().bad(), 0u);
}

TEST_F(PeerPayloadsTest, CorruptFlipsOneEchoOnce) {
    open_l2cap();
    peer_words({.corrupt = true});
    const std::vector<uint8_t> data{0x10, 0x20, 0x30};
    send({.kind = K::l2_data, .src = kMyCid, .dst = device_->peer_cid(), .data = data});
    send({.kind = K::l2_data, .src = kMyCid, .dst = device_->peer_cid(), .data = data});
    ASSERT_TRUE(eventually([&] { return device_->l2().size() == 2; }));
    EXPECT_EQ(device_->l2()[0], (std::vector<uint8_t>{0x11, 0x20, 0x30}));
    EXPECT_EQ(device_->l2()[1], data);
    EXPECT_EQ(peer_->payloads().sent(), 2u);
    EXPECT_EQ(peer_->payloads().good() + peer_->payloads().bad(), 0u);  // an echo is not checked
}

}  // namespace
}  // namespace kestrel::sim
