#include "shell/session_statistics.h"

#include <gtest/gtest.h>

#include "output_capture.h"

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
