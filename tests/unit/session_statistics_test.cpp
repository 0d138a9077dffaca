#include "shell/session_statistics.h"

#include <gtest/gtest.h>

#include "transfer/payload_generator.h"

#include "output_capture.h"
#include "shell/session_context.h"
#include "transport/channel.h"
#include "transport/connection_state.h"

namespace kestrel {
namespace {

TEST(SessionStatistics, NothingForAnEmptySession) {
    test::OutputCapture capture;
    print_session_statistics(SessionTotals{});
    EXPECT_EQ(capture.take(), "");
}

TEST(SessionStatistics, HeadingThenOneLinePerTotalInOrder) {
    test::OutputCapture capture;
    SessionTotals totals{};
    totals[kDmIssued] = 3;
    totals[kL2capIssued] = 1;
    totals[kHciReceived] = 2;
    totals[kHqReceived] = 1;
    print_session_statistics(totals);
    EXPECT_EQ(capture.take(),
              "\nSession Statistics\n"
              "==================\n"
              "1 L2CAP primitive issued.\n"
              "3 DM primitives issued.\n"
              "2 HCI primitives received.\n"
              "1 HQ primitive received.\n");
}

TEST(SessionStatistics, DebugAndHqAloneGetNoHeading) {
    test::OutputCapture capture;
    SessionTotals totals{};
    totals[kDebugReceived] = 5;
    print_session_statistics(totals);
    EXPECT_EQ(capture.take(), "5 DEBUG primitives received.\n");
}

}  // namespace
}  // namespace kestrel

namespace kestrel {
namespace {

// A link that was never connected to a chip still counts what is sent
// through it, which is all these tests need.
std::unique_ptr<DeviceLink> link_that_sent(int dm, int l2cap) {
    static PayloadGenerator generator;
    auto link = std::make_unique<DeviceLink>(generator);
    for (int i = 0; i < dm; ++i) link->send_stack_message(kChannelDm, kLinkDmIssued, {0x00, 0x10});
    for (int i = 0; i < l2cap; ++i) link->send_stack_message(kChannelL2cap, kLinkL2capIssued, {0x00, 0x20});
    return link;
}

class SessionAccumulation : public ::testing::Test {
protected:
    void SetUp() override { g_connection_bits = 0; }
    void TearDown() override { g_connection_bits = 0; }
    SessionContext session;
};

TEST_F(SessionAccumulation, DisconnectAddsTheLinksCountsUnderTheirOwnNames) {
    session.device_link = link_that_sent(3, 1);
    set_connected(kChipConnected);
    session.accumulate_statistics();
    clear_connected(kChipConnected);
    session.device_link.reset();

    SessionTotals expected{};
    expected[kDmIssued] = 3;
    expected[kL2capIssued] = 1;
    EXPECT_EQ(session.totals, expected);

    test::OutputCapture capture;
    session.print_statistics();
    EXPECT_EQ(capture.take(),
              "\nSession Statistics\n"
              "==================\n"
              "1 L2CAP primitive issued.\n"
              "3 DM primitives issued.\n");
}

TEST_F(SessionAccumulation, EveryDisconnectedLinkAddsToTheTotals) {
    for (int dm : {2, 5}) {
        session.device_link = link_that_sent(dm, 0);
        set_connected(kChipConnected);
        session.accumulate_statistics();
        clear_connected(kChipConnected);
        session.device_link.reset();
    }
    EXPECT_EQ(session.totals[kDmIssued], 7u);
}

TEST_F(SessionAccumulation, ALinkStillUpAtShutDownAddsNothing) {
    session.device_link = link_that_sent(3, 1);
    set_connected(kChipConnected);
    // Shut-down clears the bit before printing.
    clear_connected(kChipConnected);
    test::OutputCapture capture;
    session.print_statistics();
    EXPECT_EQ(capture.take(), "");
    EXPECT_EQ(session.totals, SessionTotals{});
}

TEST_F(SessionAccumulation, PrintingAddsALinkThatCountsAsConnected) {
    session.device_link = link_that_sent(1, 0);
    set_connected(kChipConnected);
    test::OutputCapture capture;
    session.print_statistics();
    EXPECT_EQ(capture.take(),
              "\nSession Statistics\n"
              "==================\n"
              "1 DM primitive issued.\n");
    clear_connected(kChipConnected);
}

}  // namespace
}  // namespace kestrel
