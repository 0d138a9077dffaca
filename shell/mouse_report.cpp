#include "shell/mouse_report.h"

#include "encode/number_conversion.h"
#include "shell/mouse_injection.h"

namespace kestrel {
namespace {

// What was last sent for each button; process-wide, so a restart keeps it
// as the host's pointer keeps its buttons.
uint8_t g_mouse_button_state = kInitialMouseButtonState;

// One button's pair of state bits and events. The "up" test comes first and
// the "down" test sees the state it left.
struct ButtonRule {
    int32_t pressed_bit;
    uint8_t down_state, up_state;
    uint32_t down_event, up_event;
};

constexpr ButtonRule kButtonRules[] = {
    {0x01, 0x02, 0x04, kMouseLeftDown, kMouseLeftUp},
    {0x02, 0x08, 0x10, kMouseRightDown, kMouseRightUp},
    {0x04, 0x20, 0x40, kMouseMiddleDown, kMouseMiddleUp},
};

int32_t signed_byte(int32_t value) { return static_cast<int8_t>(static_cast<uint8_t>(value)); }

}  // namespace

MouseInput mouse_input_from_report(uint8_t& button_state, int32_t buttons, int32_t dx, int32_t dy, int32_t wheel) {
    MouseInput input;
    input.flags = kMouseMove | kMouseWheel;
    for (const ButtonRule& rule : kButtonRules) {
        const bool pressed = (buttons & rule.pressed_bit) != 0;
        if ((button_state & rule.down_state) && !pressed) {
            input.flags |= rule.up_event;
            button_state = static_cast<uint8_t>((button_state & ~rule.down_state) | rule.up_state);
        }
        if ((button_state & rule.up_state) && pressed) {
            input.flags |= rule.down_event;
            button_state = static_cast<uint8_t>((button_state & ~rule.up_state) | rule.down_state);
        }
    }
    input.dx = signed_byte(dx);
    input.dy = signed_byte(dy);
    input.wheel = signed_byte(wheel) * 120;
    return input;
}

int os_send_mouse_report_command(ClientData, Tcl_Interp* interp, int argc, const char* argv[]) {
    if (argc != 5) {
        // The usage text names the command OS_mouse_report.
        Tcl_AppendResult(interp, "Error in arguments\n",
                         "Usage: OS_mouse_report <button byte> <delta x> <delta y> <delta wheel>\n", nullptr);
        return TCL_ERROR;
    }
    const MouseInput input = mouse_input_from_report(g_mouse_button_state, parse_number(argv[1]),
                                                     parse_number(argv[2]), parse_number(argv[3]),
                                                     parse_number(argv[4]));
    // Whether the host took it is not checked.
    process_mouse_injection().send(input);
    return TCL_OK;
}

}  // namespace kestrel
