// PTCMD round trips between a host and the simulated chip's model through a
// PTSP line that drops and corrupts bytes: every request is answered exactly
// once, in order. The clock is simulated, so the 250 ms resends cost no time.
#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <vector>

#include "sim/chip_model.h"
#include "transport/platform/message_codec.h"
#include "transport/platform/ptsp_codec.h"

namespace kestrel {
namespace {

// One direction of the line: bytes in flight, some lost or damaged.
class FaultyWire {
public:
    FaultyWire(double drop, double corrupt, unsigned seed) : drop_(drop), corrupt_(corrupt), random_(seed) {}
    void put(std::span<const uint8_t> frame) {
        for (uint8_t byte : frame) {
            const double roll = unit_(random_);
            if (roll < drop_) continue;
            if (roll < drop_ + corrupt_) byte ^= static_cast<uint8_t>(1u << (random_() % 8));
            bytes_.push_back(byte);
        }
    }
    std::vector<uint8_t> take() {
        std::vector<uint8_t> out(bytes_.begin(), bytes_.end());
        bytes_.clear();
        return out;
    }

private:
    double drop_, corrupt_;
    std::mt19937 random_;
    std::uniform_real_distribution<double> unit_{0.0, 1.0};
    std::deque<uint8_t> bytes_;
};

TEST(PtcmdOverLossyPtsp, TenThousandRoundTripsEachAnsweredOnceInOrder) {
    constexpr int kRoundTrips = 10000;
    constexpr size_t kInFlight = 8;  // requests a script keeps outstanding
    FaultyWire to_chip(0.01, 0.01, 7), to_host(0.01, 0.01, 11);
    uint32_t now = 0;

    std::vector<uint16_t> answered;  // sequence numbers, in arrival order
    ptsp::Link host({[&](std::span<const uint8_t> f) { to_chip.put(f); },
                     [&](uint8_t channel, std::span<const uint8_t> payload) {
                         ASSERT_EQ(channel, 2);
                         const auto words = ptcmd_words(payload);
                         ASSERT_GE(words.size(), 9u);
                         EXPECT_EQ(words[0], 1);       // GETRESP
                         EXPECT_EQ(words[3], 0x281A);  // CHIPVER
                         EXPECT_EQ(words[4], 0);       // status ok
                         EXPECT_EQ(words[5], 2);       // the chip version
                         answered.push_back(words[2]);
                     },
                     nullptr, nullptr});

    std::unique_ptr<sim::ChipModel> model;
    ptsp::Link chip({[&](std::span<const uint8_t> f) { to_host.put(f); },
                     [&](uint8_t channel, std::span<const uint8_t> payload) { model->receive(channel, payload); },
                     nullptr, nullptr});
    model = std::make_unique<sim::ChipModel>(
        std::make_shared<sim::PsStore>(),
        sim::ChipModel::Outputs{[&](uint8_t channel, std::vector<uint8_t> message) {
                                    chip.send(channel, message, now);
                                },
                                [](const sim::ChipRequest&) { FAIL() << "no restart was asked for"; }});

    host.start(now);
    chip.start(now);
    int sent = 0;
    while (answered.size() < static_cast<size_t>(kRoundTrips) && now < 20'000'000) {
        while (sent < kRoundTrips && static_cast<size_t>(sent) - answered.size() < kInFlight && host.garrulous()) {
            const std::vector<uint16_t> request{0, 9, static_cast<uint16_t>(sent), 0x281A, 0, 0, 0, 0, 0};
            host.send(2, ptcmd_bytes(request), now);
            ++sent;
        }
        now += 1;
        chip.receive(to_chip.take(), now);
        host.receive(to_host.take(), now);
        chip.tick(now);
        host.tick(now);
    }

    ASSERT_EQ(answered.size(), static_cast<size_t>(kRoundTrips));
    for (int i = 0; i < kRoundTrips; ++i) ASSERT_EQ(answered[i], static_cast<uint16_t>(i)) << "answer " << i;
    // The faults were real: both ends had to resend.
    EXPECT_GT(host.retransmissions(), 100u);
    EXPECT_GT(chip.retransmissions(), 100u);
}

}  // namespace
}  // namespace kestrel
