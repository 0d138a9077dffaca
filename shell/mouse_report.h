// OS_send_mouse_report: a mouse report from a script (a button byte and
// relative deltas, as a Bluetooth mouse sends them) turned into one relative
// mouse input for the host, with a button event only where a button changed.
#pragma once

#include <tcl.h>

#include <cstdint>

namespace kestrel {

// The event flags of one mouse input, as the host's input call knows them.
enum MouseEventFlags : uint32_t {
    kMouseMove = 0x0001,
    kMouseLeftDown = 0x0002,
    kMouseLeftUp = 0x0004,
    kMouseRightDown = 0x0008,
    kMouseRightUp = 0x0010,
    kMouseMiddleDown = 0x0020,
    kMouseMiddleUp = 0x0040,
    kMouseWheel = 0x0800,
};

// The state byte starts here: left down, right up, middle both down and up
// (so the first report always settles left and middle).
inline constexpr uint8_t kInitialMouseButtonState = 0x72;

struct MouseInput {
    int32_t dx = 0;
    int32_t dy = 0;
    int32_t wheel = 0;  // in wheel units, 120 per notch
    uint32_t flags = 0;
};

// Compares the pressed buttons (bit 0 left, 1 right, 2 middle) with the state
// byte, updates it, and gives the input to send. Deltas are taken as signed
// 8-bit values.
MouseInput mouse_input_from_report(uint8_t& button_state, int32_t buttons, int32_t dx, int32_t dy, int32_t wheel);

int os_send_mouse_report_command(ClientData client_data, Tcl_Interp* interp, int argc, const char* argv[]);

}  // namespace kestrel
