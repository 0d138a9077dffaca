// The simulated chip as a host meets it: a host-side message link on a
// socket pair, over PTSP and H4, with the protocol given or detected.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <ostream>
#include <sstream>
#include <thread>

#include "sim/simulated_chip.h"
#include "sim/test_host.h"

namespace kestrel::sim {
namespace {

using testing::eventually;
using testing::TestHost;

constexpr uint16_t kChipVer = 0x281A, kPio = 0x681F, kPs = 0x7003, kPsNext = 0x3005, kPsSize = 0x3006,
                   kPsClr = 0x4818, kColdReset = 0x4001, kWarmReset = 0x4002, kColdHalt = 0x4003,
                   kPanicArg = 0x6805, kFaultArg = 0x6806, kPreserveValid = 0x2807, kProvokePanic = 0x4820,
                   kProvokeDelayedPanic = 0x4821, kProvokeFault = 0x4822, kBtClock = 0x2C00, kRand = 0x282A;
constexpr uint16_t kGet = ptcmd::kGetReq, kSet = ptcmd::kSetReq;

uint16_t status_of(const std::vector<uint16_t>& answer) { return answer.size() > 4 ? answer[4] : 0xFFFF; }

struct Setup {
    LinkProtocol protocol;
    bool detected;
    const char* name;
};

void PrintTo(const Setup& setup, std::ostream* out) { *out << setup.name; }

class SimChipTest : public ::testing::TestWithParam<Setup> {
protected:
    void SetUp() override { plug_in(nullptr); }

    void TearDown() override {
        host_.reset();
        chip_.reset();
    }

    // A chip and its host; the first exchange shows the start-up line
    // before any answer (a detecting chip starts on that first request).
    void plug_in(std::shared_ptr<PsStore> ps) {
        SimulatedChip::Options options;
        if (!GetParam().detected) options.protocol = GetParam().protocol;
        options.ps = std::move(ps);
        chip_ = std::make_unique<SimulatedChip>(std::move(options));
        host_ = std::make_unique<TestHost>(testing::plug_into(*chip_), GetParam().protocol);
        ASSERT_TRUE(host_->start());
        host_->send_words(TestHost::request(kGet, kChipVer, 500));
        const auto first = host_->next();
        ASSERT_TRUE(first);
        EXPECT_EQ(first->channel, kChannelDebug);
        EXPECT_EQ(first->text(), kStartupLine);
        const auto answer = host_->next();
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->channel, kChannelPtcmd);
        EXPECT_EQ(answer->words(), (std::vector<uint16_t>{1, 9, 500, kChipVer, 0, 2, 0, 0, 0}));
    }

    uint16_t get_value(uint16_t varid) {
        const auto answer = host_->ask(kGet, varid);
        EXPECT_EQ(status_of(answer), ptcmd::kOk) << std::hex << varid;
        return answer.size() > 5 ? answer[5] : 0xFFFF;
    }

    void set_value(uint16_t varid, uint16_t value) {
        EXPECT_EQ(status_of(host_->ask(kSet, varid, {value})), ptcmd::kOk) << std::hex << varid;
    }

    void expect_debug_line(std::string_view text) {
        const auto line = host_->next(kChannelDebug);
        ASSERT_TRUE(line);
        EXPECT_EQ(line->text(), text);
    }

    // After a restart: PTSP hosts see the chip's link start again.
    void expect_restart(int restarts_so_far) {
        if (GetParam().protocol == LinkProtocol::ptsp) {
            EXPECT_TRUE(host_->wait_for_peer_resets(restarts_so_far));
        }
        expect_debug_line(kStartupLine);
    }

    std::unique_ptr<SimulatedChip> chip_;
    std::unique_ptr<TestHost> host_;
};

TEST_P(SimChipTest, ChipVersionTravelsInTheReferenceByteLayout) {
    host_->send_words(TestHost::request(kGet, kChipVer, 1));
    const auto answer = host_->next(kChannelPtcmd);
    ASSERT_TRUE(answer);
    // The vendor event's parameters after the descriptor byte, from the H4 reference packets.
    const std::vector<uint8_t> reference{0x01, 0x00, 0x09, 0x00, 0x01, 0x00, 0x1A, 0x28, 0x00,
                                         0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
    EXPECT_EQ(answer->bytes, reference);
}

TEST_P(SimChipTest, UnknownVariablesAndRangeMarkersAreNoSuchVariable) {
    for (uint16_t varid : {0x2999, 0x6000, 0x1000}) {
        const auto answer = host_->ask(kGet, static_cast<uint16_t>(varid));
        ASSERT_EQ(answer.size(), 9u);
        EXPECT_EQ(answer[0], ptcmd::kGetResp);
        EXPECT_EQ(answer[3], varid);
        EXPECT_EQ(status_of(answer), ptcmd::kNoSuchVariable) << std::hex << varid;
    }
}

TEST_P(SimChipTest, MalformedRequestsAreBadRequestsEchoingWhatTheyCan) {
    // Five words: sequence number and variable id come back in a nine-word answer.
    host_->send_words(std::vector<uint16_t>{kGet, 5, 77, kChipVer, 0});
    auto answer = host_->next(kChannelPtcmd);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->words(), (std::vector<uint16_t>{1, 9, 77, kChipVer, ptcmd::kBadRequest, 0, 0, 0, 0}));

    host_->send_words(std::vector<uint16_t>{kGet, 2});
    answer = host_->next(kChannelPtcmd);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->words(), (std::vector<uint16_t>{1, 9, 0, 0, ptcmd::kBadRequest, 0, 0, 0, 0}));

    // Ten words that say nine.
    host_->send_words(std::vector<uint16_t>{kGet, 9, 78, kChipVer, 0, 0, 0, 0, 0, 0});
    answer = host_->next(kChannelPtcmd);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->words(), (std::vector<uint16_t>{1, 10, 78, kChipVer, ptcmd::kBadRequest, 0, 0, 0, 0, 0}));

    // A type the chip does not take (a GETRESP from the host).
    EXPECT_EQ(status_of(host_->ask(ptcmd::kGetResp, kChipVer)), ptcmd::kBadRequest);
}

TEST_P(SimChipTest, AccessFollowsTheVariableIdBits) {
    EXPECT_EQ(status_of(host_->ask(kGet, kColdReset)), ptcmd::kWriteOnly);
    EXPECT_EQ(status_of(host_->ask(kSet, kChipVer, {3})), ptcmd::kReadOnly);
    EXPECT_EQ(status_of(host_->ask(kGet, 0x000B)), ptcmd::kNoAccess);  // PSCLRALL
    EXPECT_EQ(status_of(host_->ask(kSet, 0x000B)), ptcmd::kNoAccess);
    EXPECT_EQ(status_of(host_->ask(kGet, 0x3008)), ptcmd::kNoValue);   // CRYPTKEYLEN: no connection
    set_value(kPio, 0x00A5);
    EXPECT_EQ(get_value(kPio), 0x00A5);
    // A set answer echoes what was set.
    const auto echo = host_->ask(kSet, kPio, {0x0101});
    EXPECT_EQ(std::vector<uint16_t>(echo.begin() + 3, echo.end()), (std::vector<uint16_t>{kPio, 0, 0x0101, 0, 0, 0}));
}

TEST_P(SimChipTest, PsKeysAreSetReadSizedListedAndCleared) {
    // The chip initialisation's key of the H4 reference packets.
    EXPECT_EQ(status_of(host_->ask(kSet, kPs, {0x01FE, 1, 0, 0x6590})), ptcmd::kOk);
    EXPECT_EQ(status_of(host_->ask(kSet, kPs, {0x0002, 3, 0, 0x0001, 0x0002, 0x5BFF})), ptcmd::kOk);

    auto answer = host_->ask(kGet, kPs, {0x01FE, 1, 0, 0});
    ASSERT_EQ(answer.size(), 9u);
    EXPECT_EQ(std::vector<uint16_t>(answer.begin() + 3, answer.end()), (std::vector<uint16_t>{kPs, 0, 0x01FE, 1, 0, 0x6590}));
    answer = host_->ask(kGet, kPs, {0x0002, 3, 0, 0, 0, 0});
    EXPECT_EQ(std::vector<uint16_t>(answer.begin() + 4, answer.end()),
              (std::vector<uint16_t>{0, 0x0002, 3, 0, 0x0001, 0x0002, 0x5BFF}));
    // No room for three words: too big, with the key's length and what fits.
    answer = host_->ask(kGet, kPs, {0x0002, 1, 0, 0});
    EXPECT_EQ(std::vector<uint16_t>(answer.begin() + 4, answer.end()),
              (std::vector<uint16_t>{ptcmd::kTooBig, 0x0002, 3, 0, 0x0001}));

    EXPECT_EQ(host_->ask(kGet, kPsSize, {0x0002}).at(7), 3);
    EXPECT_EQ(host_->ask(kGet, kPsNext, {0}).at(7), 0x0002);
    EXPECT_EQ(host_->ask(kGet, kPsNext, {0x0002}).at(7), 0x01FE);
    EXPECT_EQ(host_->ask(kGet, kPsNext, {0x01FE}).at(7), 0);

    set_value(kPsClr, 0x0002);
    EXPECT_EQ(status_of(host_->ask(kGet, kPs, {0x0002, 3, 0, 0, 0, 0})), ptcmd::kNoValue);
    EXPECT_EQ(status_of(host_->ask(kGet, kPsSize, {0x0002})), ptcmd::kNoValue);
    EXPECT_EQ(host_->ask(kGet, kPsNext, {0}).at(7), 0x01FE);

    // Key 0, no data, and more data than the message holds are refused.
    EXPECT_EQ(status_of(host_->ask(kSet, kPs, {0, 1, 0, 5})), ptcmd::kBadRequest);
    EXPECT_EQ(status_of(host_->ask(kSet, kPs, {0x0010, 0, 0, 5})), ptcmd::kBadRequest);
    EXPECT_EQ(status_of(host_->ask(kSet, kPs, {0x0010, 2, 0, 5})), ptcmd::kBadRequest);
    EXPECT_FALSE(chip_->ps()->get(0x0010));
}

TEST_P(SimChipTest, VmMessagesComeBackUnchanged) {
    std::vector<uint8_t> long_message(600);
    for (size_t i = 0; i < long_message.size(); ++i) long_message[i] = static_cast<uint8_t>(i * 7);
    for (const std::vector<uint8_t>& message :
         {std::vector<uint8_t>{0x01, 0x00, 0x02, 0x00, 0xC0, 0xDB}, std::vector<uint8_t>{}, long_message}) {
        ASSERT_TRUE(host_->send(kChannelVm, message));
        const auto echo = host_->next(kChannelVm);
        ASSERT_TRUE(echo);
        EXPECT_EQ(echo->bytes, message);
    }
}

TEST_P(SimChipTest, StackChannelsAreRecordedAndNotAnswered) {
    const std::vector<uint8_t> dm{0x03, 0x0C, 0x00, 0x00}, sdp{0x01, 0x02}, vm{0x09};
    host_->send(kChannelDm, dm);
    host_->send(kChannelSdp, sdp);
    host_->send(kChannelVm, vm);
    const auto echo = host_->next();  // anything the chip said first
    ASSERT_TRUE(echo);
    EXPECT_EQ(echo->channel, kChannelVm);
    const auto received = chip_->received();
    ASSERT_GE(received.size(), 4u);  // the first request, then the three
    const auto tail = std::vector<SimulatedChip::Received>(received.end() - 3, received.end());
    EXPECT_EQ(tail[0].channel, kChannelDm);
    EXPECT_EQ(tail[0].bytes, dm);
    EXPECT_EQ(tail[1].channel, kChannelSdp);
    EXPECT_EQ(tail[1].bytes, sdp);
    EXPECT_EQ(tail[2].channel, kChannelVm);
}

TEST_P(SimChipTest, ProvokedFaultIsReportedOnTheHqChannel) {
    host_->send_words(TestHost::request(kSet, kProvokeFault, 40, {0x0042}));
    const auto answer = host_->next();  // the answer comes first
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->channel, kChannelPtcmd);
    const auto report = host_->next(kChannelHq);
    ASSERT_TRUE(report);
    EXPECT_EQ(report->words(), (std::vector<uint16_t>{ptcmd::kSetReq, 9, 0, ptcmd::kHqVaridFault, 0, 0x42, 1, 0, 0}));
    set_value(kProvokeFault, 0x0043);
    const auto second = host_->next(kChannelHq);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->words(), (std::vector<uint16_t>{ptcmd::kSetReq, 9, 1, ptcmd::kHqVaridFault, 0, 0x43, 2, 0, 0}));
    EXPECT_EQ(get_value(kFaultArg), 0x43);
}

TEST_P(SimChipTest, ColdResetRestartsTheChipAfterAnswering) {
    set_value(kPio, 5);
    set_value(kPanicArg, 7);
    set_value(kColdReset, 0);
    expect_restart(1);
    EXPECT_EQ(get_value(kChipVer), 2);
    EXPECT_EQ(get_value(kPio), 0);
    EXPECT_EQ(get_value(kPanicArg), 0);
    EXPECT_EQ(get_value(kPreserveValid), 0);
    EXPECT_EQ(chip_->starts(), 2u);
}

TEST_P(SimChipTest, WarmResetKeepsThePreservedVariables) {
    set_value(kPio, 5);
    set_value(kPanicArg, 7);
    set_value(kFaultArg, 9);
    set_value(kWarmReset, 0);
    expect_restart(1);
    EXPECT_EQ(get_value(kPio), 0);
    EXPECT_EQ(get_value(kPanicArg), 7);
    EXPECT_EQ(get_value(kFaultArg), 9);
    EXPECT_EQ(get_value(kPreserveValid), 1);
}

TEST_P(SimChipTest, PanicsSayWhyAndRestart) {
    set_value(kProvokePanic, 0x1234);
    expect_debug_line("Petrel simulator 0.1: panic 0x1234, restarting");
    expect_restart(1);
    EXPECT_EQ(get_value(kPanicArg), 0x1234);
    EXPECT_EQ(get_value(kPreserveValid), 1);

    set_value(kProvokeDelayedPanic, 0x0BAD);  // answered before the panic comes
    expect_debug_line("Petrel simulator 0.1: panic 0x0bad, restarting");
    expect_restart(2);
    EXPECT_EQ(get_value(kPanicArg), 0x0BAD);
}

TEST_P(SimChipTest, HaltedChipIsSilentUntilReset) {
    set_value(kColdHalt, 0);
    ASSERT_TRUE(eventually([&] { return chip_->state() == SimulatedChip::State::halted; }));
    const size_t heard = chip_->received().size();
    host_->send_words(TestHost::request(kGet, kChipVer, 900));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));  // room for a wrong answer to come
    for (const auto& message : host_->take_all()) EXPECT_NE(message.channel, kChannelPtcmd);
    EXPECT_EQ(chip_->received().size(), heard);

    std::string error;
    ASSERT_TRUE(chip_->reset(Restart::cold, error));
    expect_restart(1);
    // PTSP sends the unacknowledged request again to the restarted chip.
    host_->send_words(TestHost::request(kGet, kChipVer, 901));
    for (;;) {
        const auto answer = host_->next(kChannelPtcmd);
        ASSERT_TRUE(answer);
        EXPECT_EQ(status_of(answer->words()), ptcmd::kOk);
        if (answer->words().at(2) == 901) break;
        EXPECT_EQ(GetParam().protocol, LinkProtocol::ptsp);
    }
}

TEST_P(SimChipTest, ClockRunsAndRandomNumbersChange) {
    const auto first = host_->ask(kGet, kBtClock);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const auto second = host_->ask(kGet, kBtClock);
    ASSERT_EQ(first.size(), 9u);
    ASSERT_EQ(second.size(), 9u);
    const uint32_t t1 = uint32_t{first[5]} << 16 | first[6], t2 = uint32_t{second[5]} << 16 | second[6];
    EXPECT_GT(t2, t1);
    EXPECT_LT(t2, 0x10000000u);  // 28 bits

    std::vector<uint16_t> numbers;
    for (int i = 0; i < 4; ++i) numbers.push_back(get_value(kRand));
    EXPECT_FALSE(std::all_of(numbers.begin(), numbers.end(), [&](uint16_t n) { return n == numbers[0]; }));
}

TEST_P(SimChipTest, HostClosingItsEndUnplugsTheChip) {
    bool told = false;
    std::mutex mutex;
    chip_->set_unplugged_handler([&] {
        std::lock_guard lock(mutex);
        told = true;
    });
    host_->stop();
    EXPECT_TRUE(eventually([&] { return chip_->state() == SimulatedChip::State::unplugged; }));
    EXPECT_TRUE(eventually([&] {
        std::lock_guard lock(mutex);
        return told;
    }));
    std::string error;
    EXPECT_FALSE(chip_->send(kChannelDebug, std::vector<uint8_t>{'x'}, error));
    EXPECT_EQ(error, "Error, no host is connected to the chip\n");
}

INSTANTIATE_TEST_SUITE_P(Lines, SimChipTest,
                         ::testing::Values(Setup{LinkProtocol::ptsp, false, "ptsp"},
                                           Setup{LinkProtocol::h4, false, "h4"},
                                           Setup{LinkProtocol::ptsp, true, "ptsp_detected"},
                                           Setup{LinkProtocol::h4, true, "h4_detected"}),
                         [](const auto& info) { return std::string(info.param.name); });

// --- Literal wire bytes -----------------------------------------------------

std::vector<uint8_t> hex(std::string_view text) {
    std::vector<uint8_t> bytes;
    std::istringstream in{std::string(text)};
    for (unsigned value; in >> std::hex >> value;) bytes.push_back(static_cast<uint8_t>(value));
    return bytes;
}

// Reads from the raw end until `wanted` has appeared in what came.
bool read_until(ByteStream& stream, std::vector<uint8_t>& seen, const std::vector<uint8_t>& wanted) {
    const auto deadline = std::chrono::steady_clock::now() + TestHost::kWait;
    std::vector<uint8_t> buffer(512);
    while (std::search(seen.begin(), seen.end(), wanted.begin(), wanted.end()) == seen.end()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        const long got = stream.read(buffer, 100);
        if (got < 0) return false;
        seen.insert(seen.end(), buffer.begin(), buffer.begin() + got);
    }
    return true;
}

TEST(SimChipWire, H4RequestIsAnsweredWithTheReferencePacket) {
    SimulatedChip chip({});
    auto raw = testing::plug_into(chip);
    ASSERT_TRUE(raw);
    ASSERT_TRUE(raw->write(hex("01 00 FC 13 C2 00 00 09 00 01 00 1A 28 00 00 00 00 00 00 00 00 00 00")));
    std::vector<uint8_t> seen;
    const std::string line(kStartupLine);
    std::vector<uint8_t> startup{0x04, 0xFF, static_cast<uint8_t>(1 + line.size()), 0xCB};
    startup.insert(startup.end(), line.begin(), line.end());
    const auto answer = hex("04 FF 13 C2 01 00 09 00 01 00 1A 28 00 00 02 00 00 00 00 00 00 00");
    ASSERT_TRUE(read_until(*raw, seen, answer));
    std::vector<uint8_t> expected = startup;
    expected.insert(expected.end(), answer.begin(), answer.end());
    EXPECT_EQ(seen, expected);
    EXPECT_EQ(chip.protocol(), LinkProtocol::h4);
}

TEST(SimChipWire, PtspLinkIsEstablishedWithTheReferenceFrames) {
    SimulatedChip chip({});
    auto raw = testing::plug_into(chip);
    ASSERT_TRUE(raw);
    std::vector<uint8_t> seen;
    ASSERT_TRUE(raw->write(hex("C0 40 41 00 7E DA DC ED ED A9 7A C0")));  // SYNC
    EXPECT_TRUE(read_until(*raw, seen, hex("C0 40 41 00 7E DA DC ED ED A9 7A C0")));  // its own SYNC
    EXPECT_TRUE(read_until(*raw, seen, hex("C0 40 41 00 7E AC AF EF EE BB 84 C0")));  // SYNC-RESP
    ASSERT_TRUE(raw->write(hex("C0 40 41 00 7E AC AF EF EE BB 84 C0")));
    EXPECT_TRUE(read_until(*raw, seen, hex("C0 40 41 00 7E AD EF AC ED A1 A6 C0")));  // CONF
    seen.clear();
    ASSERT_TRUE(raw->write(hex("C0 40 41 00 7E AD EF AC ED A1 A6 C0")));
    EXPECT_TRUE(read_until(*raw, seen, hex("C0 40 41 00 7E DE AD D0 D0 83 58 C0")));  // CONF-RESP
    EXPECT_EQ(chip.protocol(), LinkProtocol::ptsp);
}

// --- Persistence and a damaged line ------------------------------------------

TEST(SimChipStore, PsKeysPersistInTheFileAcrossChips) {
    char path_template[] = "/tmp/sim_ps_XXXXXX";
    const int fd = ::mkstemp(path_template);
    ASSERT_GE(fd, 0);
    ::close(fd);
    const std::string path = path_template;
    std::remove(path.c_str());  // a missing file is an empty store
    {
        std::string error;
        SimulatedChip::Options options;
        options.ps = PsStore::open(path, error);
        ASSERT_TRUE(options.ps) << error;
        SimulatedChip chip(std::move(options));
        TestHost host(testing::plug_into(chip), LinkProtocol::ptsp);
        ASSERT_TRUE(host.start());
        EXPECT_EQ(status_of(host.ask(kSet, kPs, {0x01FE, 1, 0, 0x6590})), ptcmd::kOk);
    }
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    EXPECT_NE(text.str().find("\n01fe: 6590\n"), std::string::npos) << text.str();
    {
        std::string error;
        SimulatedChip::Options options;
        options.ps = PsStore::open(path, error);
        ASSERT_TRUE(options.ps) << error;
        SimulatedChip chip(std::move(options));
        TestHost host(testing::plug_into(chip), LinkProtocol::h4);
        ASSERT_TRUE(host.start());
        const auto answer = host.ask(kGet, kPs, {0x01FE, 1, 0, 0});
        EXPECT_EQ(std::vector<uint16_t>(answer.begin() + 4, answer.end()),
                  (std::vector<uint16_t>{0, 0x01FE, 1, 0, 0x6590}));
    }
    std::remove(path.c_str());
}

TEST(SimChipLine, EveryRequestIsAnsweredOnceAndInOrderOnADamagedLine) {
    SimulatedChip::Options options;
    options.protocol = LinkProtocol::ptsp;
    options.conditions = {.drop_rate = 0.01, .corrupt_rate = 0.01, .seed = 42};
    SimulatedChip chip(std::move(options));
    TestHost host(testing::plug_into(chip), LinkProtocol::ptsp);
    ASSERT_TRUE(host.start());

    // Kept in flight several at a time, so that the line's losses overlap;
    // one request more than counted, so that an answer that came twice would
    // show before the last.
    constexpr uint16_t kCount = 2000, kInFlight = 8;
    uint16_t next = 0;
    auto send_next = [&] {
        host.send_words(TestHost::request(kSet, kPio, next, {next}));
        ++next;
    };
    while (next < kInFlight) send_next();
    for (uint16_t expected = 0; expected <= kCount; ++expected) {
        const auto answer = host.next(kChannelPtcmd);
        ASSERT_TRUE(answer) << "no answer " << expected;
        const auto words = answer->words();
        ASSERT_EQ(words.at(2), expected);  // none lost, repeated or out of order
        ASSERT_EQ(words.at(5), expected);
        ASSERT_EQ(status_of(words), ptcmd::kOk);
        if (next <= kCount) send_next();
    }
    EXPECT_GT(chip.bytes_dropped(), 0u);
    EXPECT_GT(chip.bytes_corrupted(), 0u);
    EXPECT_GT(host.link().retransmissions(), 0u);
    std::printf("damaged line: %llu bytes dropped, %llu corrupted, %llu host retransmissions\n",
                static_cast<unsigned long long>(chip.bytes_dropped()),
                static_cast<unsigned long long>(chip.bytes_corrupted()),
                static_cast<unsigned long long>(host.link().retransmissions()));
}

}  // namespace
}  // namespace kestrel::sim
