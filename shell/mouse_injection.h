// Where mouse inputs go on this host: the X server named by DISPLAY through
// its X Test extension, else a uinput virtual mouse, else nowhere (with one
// console warning).
#pragma once

#include <linux/input.h>

#include <memory>
#include <string>
#include <vector>

#include "shell/mouse_report.h"

namespace kestrel {

// One way of handing mouse inputs to the host.
class MouseSink {
public:
    virtual ~MouseSink() = default;
    virtual void send(const MouseInput& input) = 0;
};

// The X server of display (null or empty: none), when it has the X Test
// extension; else the uinput device at uinput_path, when a virtual mouse can
// be made there; else null.
std::unique_ptr<MouseSink> open_mouse_sink(const char* display, const std::string& uinput_path);

// The evdev events of one input on the virtual mouse: motion, the button
// changes in the order left, right, middle, the wheel in notches, and the
// report's end.
std::vector<input_event> uinput_events(const MouseInput& input);

// Opens its sink at the first input and keeps it; without one, the first
// input prints the warning and every input is dropped.
class MouseInjection {
public:
    MouseInjection(const char* display, std::string uinput_path);
    void send(const MouseInput& input);

private:
    std::string display_;  // empty: no X server
    std::string uinput_path_;
    bool opened_ = false;
    std::unique_ptr<MouseSink> sink_;
};

// The process's injection, for DISPLAY and /dev/uinput as they are at its
// first use.
MouseInjection& process_mouse_injection();

}  // namespace kestrel
