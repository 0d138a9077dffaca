#include "shell/trace_printer.h"

#include <gtest/gtest.h>

#include <string>

#include "output_capture.h"
#include "shell/run_flags.h"

namespace kestrel {
namespace {

class TracePrinter : public ::testing::Test {
protected:
    void SetUp() override {
        set_run_flag(kRunDebugger);
        g_trace_mask = kTraceMaskInitial;
    }
    void TearDown() override {
        g_run_flags = kRunFlagsInitial;
        g_trace_mask = kTraceMaskInitial;
    }
    test::OutputCapture capture;
};

TEST_F(TracePrinter, SilentWithoutTheDebugger) {
    g_run_flags = kRunFlagsInitial;
    trace_printf(0x06000002, "DM_HCI_RESET");
    trace_printf(0x04800002, "prim.phandle: %d (0x%lx)\n", 5, 5ul);
    EXPECT_EQ(capture.take(), "");
}

TEST_F(TracePrinter, FramesAnOutgoingPrimitive) {
    trace_printf(0x06000002, "DM_HCI_RESET");
    trace_printf(0x04800002, "prim.phandle: %d (0x%lx)\n", 32768, 32768ul);
    trace_printf(0x05000002, "DM_HCI_RESET");
    EXPECT_EQ(capture.take(), "\n---[DM_HCI_RESET]" + std::string(40 - 12, '-') + "\n" +
                                  "-> prim.phandle: 32768 (0x8000)\n" + std::string(45, '-') + "\n");
}

TEST_F(TracePrinter, FramesAnIncomingPrimitive) {
    trace_printf(0x09000004, "RFC_START_CFM");
    trace_printf(0x0a000004, "RFC_START_CFM");
    trace_printf(0x08800004, "mux_id: %d\n", 3);
    EXPECT_EQ(capture.take(), std::string(45, '=') + "\n" + "\n===[RFC_START_CFM]" + std::string(40 - 13, '=') +
                                  "\n" + "=> mux_id: 3\n");
}

TEST_F(TracePrinter, PadsByTheFormatNotTheText) {
    trace_printf(0x06000001, "%s", "L2CA_CONNECT_REQ");
    EXPECT_EQ(capture.take(), "\n---[L2CA_CONNECT_REQ]" + std::string(38, '-') + "\n");
    const std::string long_name(41, 'X');
    trace_printf(0x06000001, "%s", long_name.c_str());  // the format is short: still padded
    EXPECT_EQ(capture.take(), "\n---[" + long_name + "]" + std::string(38, '-') + "\n");
    // A format longer than the width gets no fill at all.
    trace_printf(0x06000001, "ABCDEFGHIJABCDEFGHIJABCDEFGHIJABCDEFGHIJAB");
    const std::string format = "ABCDEFGHIJABCDEFGHIJABCDEFGHIJABCDEFGHIJAB";
    EXPECT_EQ(capture.take(), "\n---[" + format + "]\n");
}

TEST_F(TracePrinter, GatedByTheGlobalMask) {
    trace_printf(0x00001000, "never");  // a bit the global mask lacks
    trace_printf(0, "never");
    EXPECT_EQ(capture.take(), "");
    trace_printf(0x20000000, "Error, unrecognised dm primitive\n");
    EXPECT_EQ(capture.take(), "Error, unrecognised dm primitive\n");
    g_trace_mask = 0x00000002;  // dm alone, no style bits
    trace_printf(0x04800002, "prim.x: %d\n", 1);
    EXPECT_EQ(capture.take(), "prim.x: 1\n");
}

TEST_F(TracePrinter, PlainTextWithoutStyle) {
    trace_printf(0x00000100, "TCI line %d\n", 7);
    EXPECT_EQ(capture.take(), "TCI line 7\n");
}

}  // namespace
}  // namespace kestrel
