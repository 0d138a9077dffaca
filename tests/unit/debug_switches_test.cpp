#include "shell/debug_switches.h"

#include <gtest/gtest.h>

#include "shell/trace_printer.h"

namespace kestrel {
namespace {

class DebugSwitchesTest : public ::testing::Test {
protected:
    void SetUp() override { g_trace_mask = kTraceMaskInitial; }
    void TearDown() override { g_trace_mask = kTraceMaskInitial; }

    DebugSwitches session{};
    LinkDebugSwitches link{};
};

TEST_F(DebugSwitchesTest, StartAndShowAll) {
    DebugSwitches s = initial_debug_switches();
    for (int i = 0; i < kDebugSwitchCount; ++i) EXPECT_EQ(s[i], (i == kInData || i == kOutData) ? 1 : 0) << i;
    show_all_primitives(s);
    for (int i = 0; i < kDebugSwitchCount; ++i) EXPECT_EQ(s[i], (i == kInRaw || i == kOutRaw) ? 0 : 1) << i;
    EXPECT_EQ(g_trace_mask.load(), kTraceMaskInitial);  // -s leaves the mask alone
}

TEST_F(DebugSwitchesTest, OnOrsTheCategoryAndStyle) {
    g_trace_mask = 0;
    switch_category(session, &link, "SDP", TraceDirection::in, true, false);
    EXPECT_EQ(g_trace_mask.load(), 0x0b800018u);
    EXPECT_EQ(session[kInSdp], 1);
    EXPECT_EQ(link[kInSdp].load(), 1);
    switch_category(session, &link, "raw", TraceDirection::out, true, false);
    EXPECT_EQ(g_trace_mask.load(), 0x0b800018u | 0x06800400u);
    EXPECT_EQ(session[kOutRaw], 1);
}

TEST_F(DebugSwitchesTest, OffClearsTheDirectionsStyleToo) {
    switch_category(session, &link, "dm", TraceDirection::in, false, false);
    EXPECT_EQ(g_trace_mask.load(), kTraceMaskInitial & ~0x0b800002u);
    switch_category(session, &link, "l2cap", TraceDirection::out, false, false);
    EXPECT_EQ(g_trace_mask.load(), kTraceMaskInitial & ~0x0b800002u & ~0x06800001u);
}

TEST_F(DebugSwitchesTest, DataMovesNoMaskBitsAndDebugIsIncomingOnly) {
    switch_category(session, &link, "data", TraceDirection::out, true, false);
    EXPECT_EQ(session[kOutData], 1);
    EXPECT_EQ(g_trace_mask.load(), kTraceMaskInitial);
    g_trace_mask = 0;
    switch_category(session, &link, "debug", TraceDirection::out, true, false);
    EXPECT_EQ(g_trace_mask.load(), 0u);
    DebugSwitches only_data{};
    only_data[kOutData] = 1;
    EXPECT_EQ(session, only_data);  // no outgoing debug switch to set
    switch_category(session, &link, "debug", TraceDirection::in, true, false);
    EXPECT_EQ(g_trace_mask.load(), 0x0b800080u);
    EXPECT_EQ(session[kInDebug], 1);
}

TEST_F(DebugSwitchesTest, UnknownCategoryChangesNothing) {
    switch_category(session, &link, "bogus", TraceDirection::in, true, false);
    EXPECT_EQ(session, DebugSwitches{});
    EXPECT_EQ(g_trace_mask.load(), kTraceMaskInitial);
}

TEST_F(DebugSwitchesTest, OutgoingRfcOffClearsTheSessionsOutgoingDmSwitch) {
    switch_category(session, &link, "rfc", TraceDirection::in, true, false);
    switch_category(session, &link, "rfc", TraceDirection::out, true, false);
    session[kOutDm] = 1;
    link[kOutDm] = 1;
    switch_category(session, &link, "rfc", TraceDirection::out, false, false);
    EXPECT_EQ(session[kOutRfc], 1);
    EXPECT_EQ(session[kOutDm], 0);
    EXPECT_EQ(link[kOutRfc].load(), 0);
    EXPECT_EQ(link[kOutDm].load(), 1);
    EXPECT_EQ(session[kInRfc], 1);  // incoming untouched
}

TEST_F(DebugSwitchesTest, AllWalksEveryCategory) {
    g_trace_mask = 0;
    switch_category(session, nullptr, "", TraceDirection::in, true, true);
    EXPECT_EQ(g_trace_mask.load(), 0x0b8004ffu);
    for (int i = kInRfc; i <= kInRaw; ++i) EXPECT_EQ(session[i], 1) << i;
    for (int i = kOutRfc; i < kDebugSwitchCount; ++i) EXPECT_EQ(session[i], 0) << i;
    switch_category(session, nullptr, "", TraceDirection::out, true, true);
    EXPECT_EQ(g_trace_mask.load(), 0x0f8004ffu);
    switch_category(session, nullptr, "", TraceDirection::in, false, true);
    // Clearing the incoming style takes the shared header and prefix bits too.
    EXPECT_EQ(g_trace_mask.load(), 0x04000000u);
    for (int i = kInRfc; i <= kInRaw; ++i) EXPECT_EQ(session[i], 0) << i;
}

}  // namespace
}  // namespace kestrel
