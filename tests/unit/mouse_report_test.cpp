#include "shell/mouse_report.h"

#include <gtest/gtest.h>

#include "output_capture.h"
#include "shell/mouse_injection.h"

namespace kestrel {
namespace {

constexpr uint32_t kMoveAndWheel = kMouseMove | kMouseWheel;

uint32_t flags_for(uint8_t& state, int32_t buttons) { return mouse_input_from_report(state, buttons, 0, 0, 0).flags; }

TEST(MouseButtons, FirstReportSettlesLeftAndMiddleFromTheInitialState) {
    uint8_t state = kInitialMouseButtonState;
    EXPECT_EQ(flags_for(state, 0), kMoveAndWheel | kMouseLeftUp | kMouseMiddleUp);
    EXPECT_EQ(state, 0x54);

    state = kInitialMouseButtonState;
    EXPECT_EQ(flags_for(state, 7), kMoveAndWheel | kMouseRightDown | kMouseMiddleDown);
    EXPECT_EQ(state, 0x2a);
}

TEST(MouseButtons, AnEventOnlyWhereAButtonChanged) {
    uint8_t state = kInitialMouseButtonState;
    flags_for(state, 0);
    EXPECT_EQ(flags_for(state, 1), kMoveAndWheel | kMouseLeftDown);
    EXPECT_EQ(flags_for(state, 1), kMoveAndWheel);
    EXPECT_EQ(flags_for(state, 0), kMoveAndWheel | kMouseLeftUp);
    EXPECT_EQ(flags_for(state, 2), kMoveAndWheel | kMouseRightDown);
    EXPECT_EQ(flags_for(state, 6), kMoveAndWheel | kMouseMiddleDown);
    EXPECT_EQ(flags_for(state, 5), kMoveAndWheel | kMouseLeftDown | kMouseRightUp);
    EXPECT_EQ(flags_for(state, 0), kMoveAndWheel | kMouseLeftUp | kMouseMiddleUp);
    // Bits above the three buttons are no buttons.
    EXPECT_EQ(flags_for(state, 0xf8), kMoveAndWheel);
}

TEST(MouseDeltas, TakenAsSignedBytesAndTheWheelIn120ths) {
    uint8_t state = kInitialMouseButtonState;
    MouseInput input = mouse_input_from_report(state, 0, 200, 0x1ff, 1);
    EXPECT_EQ(input.dx, -56);
    EXPECT_EQ(input.dy, -1);
    EXPECT_EQ(input.wheel, 120);
    input = mouse_input_from_report(state, 0, 127, -128, -3);
    EXPECT_EQ(input.dx, 127);
    EXPECT_EQ(input.dy, -128);
    EXPECT_EQ(input.wheel, -360);
}

struct Event {
    uint16_t type, code;
    int32_t value;
    bool operator==(const Event&) const = default;
};

std::vector<Event> plain(const std::vector<input_event>& events) {
    std::vector<Event> out;
    for (const input_event& e : events) out.push_back({e.type, e.code, e.value});
    return out;
}

TEST(UinputEvents, MotionThenButtonsThenWheelThenTheReportsEnd) {
    MouseInput input;
    input.dx = -56;
    input.dy = 3;
    input.wheel = -240;
    input.flags = kMoveAndWheel | kMouseLeftDown | kMouseRightUp | kMouseMiddleDown;
    EXPECT_EQ(plain(uinput_events(input)), (std::vector<Event>{{EV_REL, REL_X, -56},
                                                               {EV_REL, REL_Y, 3},
                                                               {EV_KEY, BTN_LEFT, 1},
                                                               {EV_KEY, BTN_RIGHT, 0},
                                                               {EV_KEY, BTN_MIDDLE, 1},
                                                               {EV_REL, REL_WHEEL, -2},
                                                               {EV_SYN, SYN_REPORT, 0}}));
}

TEST(UinputEvents, AStillReportIsOnlyItsEnd) {
    MouseInput input;
    input.flags = kMoveAndWheel;
    EXPECT_EQ(plain(uinput_events(input)), (std::vector<Event>{{EV_SYN, SYN_REPORT, 0}}));
}

TEST(MouseInjection, WithoutAnyWayInOneWarningAndTheInputsAreDropped) {
    // /dev/null opens but is no uinput device.
    for (const char* uinput : {"/nonexistent/uinput", "/dev/null"}) {
        test::OutputCapture capture;
        MouseInjection injection("", uinput);
        MouseInput input;
        input.flags = kMoveAndWheel;
        injection.send(input);
        injection.send(input);
        EXPECT_EQ(capture.take(), "Warning, mouse reports cannot be injected on this system\n") << uinput;
    }
}

}  // namespace
}  // namespace kestrel
