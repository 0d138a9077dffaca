#include "shell/mouse_injection.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <fcntl.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <utility>

#include "shell/output.h"

namespace kestrel {
namespace {

struct ButtonEvent {
    uint32_t flag;
    unsigned x_button;  // X numbers left 1, middle 2, right 3
    uint16_t evdev_code;
    bool pressed;
};

// In the order the input's flags are applied: left, right, middle.
constexpr ButtonEvent kButtonEvents[] = {
    {kMouseLeftDown, 1, BTN_LEFT, true},     {kMouseLeftUp, 1, BTN_LEFT, false},
    {kMouseRightDown, 3, BTN_RIGHT, true},   {kMouseRightUp, 3, BTN_RIGHT, false},
    {kMouseMiddleDown, 2, BTN_MIDDLE, true}, {kMouseMiddleUp, 2, BTN_MIDDLE, false},
};

constexpr int kWheelUnitsPerNotch = 120;

// Protocol errors of the fake-input requests are not the script's concern;
// Xlib's default handler would end the process.
int ignore_x_error(Display*, XErrorEvent*) { return 0; }

class XTestSink : public MouseSink {
public:
    explicit XTestSink(Display* display) : display_(display) {}
    ~XTestSink() override { XCloseDisplay(display_); }

    void send(const MouseInput& input) override {
        if ((input.flags & kMouseMove) && (input.dx != 0 || input.dy != 0))
            XTestFakeRelativeMotionEvent(display_, input.dx, input.dy, CurrentTime);
        for (const ButtonEvent& button : kButtonEvents)
            if (input.flags & button.flag)
                XTestFakeButtonEvent(display_, button.x_button, button.pressed ? True : False, CurrentTime);
        // X has no wheel axis: each notch is a click of button 4 (away from
        // the user) or 5 (towards the user).
        if (input.flags & kMouseWheel) {
            const unsigned button = input.wheel > 0 ? 4 : 5;
            for (int notch = std::abs(input.wheel) / kWheelUnitsPerNotch; notch > 0; --notch) {
                XTestFakeButtonEvent(display_, button, True, CurrentTime);
                XTestFakeButtonEvent(display_, button, False, CurrentTime);
            }
        }
        // Synchronous, so that whatever the script asks the X server next
        // sees the input done.
        XSync(display_, False);
    }

private:
    Display* display_;
};

class UinputSink : public MouseSink {
public:
    explicit UinputSink(int fd) : fd_(fd) {}
    ~UinputSink() override {
        ioctl(fd_, UI_DEV_DESTROY);
        close(fd_);
    }

    void send(const MouseInput& input) override {
        const std::vector<input_event> events = uinput_events(input);
        // A write the kernel refuses loses this input only.
        [[maybe_unused]] ssize_t written = write(fd_, events.data(), events.size() * sizeof(input_event));
    }

private:
    int fd_;
};

std::unique_ptr<MouseSink> open_xtest(const char* display_name) {
    if (!display_name || !*display_name) return nullptr;
    Display* display = XOpenDisplay(display_name);
    if (!display) return nullptr;
    int event_base, error_base, major, minor;
    if (!XTestQueryExtension(display, &event_base, &error_base, &major, &minor)) {
        XCloseDisplay(display);
        return nullptr;
    }
    XSetErrorHandler(ignore_x_error);
    return std::make_unique<XTestSink>(display);
}

std::unique_ptr<MouseSink> open_uinput(const std::string& path) {
    const int fd = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return nullptr;
    uinput_setup setup{};
    setup.id.bustype = BUS_VIRTUAL;
    setup.id.vendor = 0x4b45;  // "KE"
    setup.id.product = 0x0001;
    std::strncpy(setup.name, "Kestrel mouse reports", UINPUT_MAX_NAME_SIZE - 1);
    bool ok = ioctl(fd, UI_SET_EVBIT, EV_KEY) == 0 && ioctl(fd, UI_SET_EVBIT, EV_REL) == 0 &&
              ioctl(fd, UI_SET_EVBIT, EV_SYN) == 0;
    for (int code : {BTN_LEFT, BTN_RIGHT, BTN_MIDDLE}) ok = ok && ioctl(fd, UI_SET_KEYBIT, code) == 0;
    for (int code : {REL_X, REL_Y, REL_WHEEL}) ok = ok && ioctl(fd, UI_SET_RELBIT, code) == 0;
    ok = ok && ioctl(fd, UI_DEV_SETUP, &setup) == 0 && ioctl(fd, UI_DEV_CREATE) == 0;
    if (!ok) {
        close(fd);
        return nullptr;
    }
    // The desktop's input layer opens a new device only after it appears;
    // inputs written before that are lost.
    usleep(200 * 1000);
    return std::make_unique<UinputSink>(fd);
}

input_event make_event(uint16_t type, uint16_t code, int32_t value) {
    input_event event{};
    event.type = type;
    event.code = code;
    event.value = value;
    return event;
}

}  // namespace

std::unique_ptr<MouseSink> open_mouse_sink(const char* display, const std::string& uinput_path) {
    if (auto sink = open_xtest(display)) return sink;
    return open_uinput(uinput_path);
}

std::vector<input_event> uinput_events(const MouseInput& input) {
    std::vector<input_event> events;
    if (input.flags & kMouseMove) {
        if (input.dx != 0) events.push_back(make_event(EV_REL, REL_X, input.dx));
        if (input.dy != 0) events.push_back(make_event(EV_REL, REL_Y, input.dy));
    }
    for (const ButtonEvent& button : kButtonEvents)
        if (input.flags & button.flag) events.push_back(make_event(EV_KEY, button.evdev_code, button.pressed ? 1 : 0));
    // evdev counts the wheel in notches, positive away from the user, as the
    // host's wheel units do.
    if ((input.flags & kMouseWheel) && input.wheel / kWheelUnitsPerNotch != 0)
        events.push_back(make_event(EV_REL, REL_WHEEL, input.wheel / kWheelUnitsPerNotch));
    events.push_back(make_event(EV_SYN, SYN_REPORT, 0));
    return events;
}

MouseInjection::MouseInjection(const char* display, std::string uinput_path)
    : display_(display ? display : ""), uinput_path_(std::move(uinput_path)) {}

void MouseInjection::send(const MouseInput& input) {
    if (!opened_) {
        opened_ = true;
        sink_ = open_mouse_sink(display_.c_str(), uinput_path_);
        if (!sink_) output_write("Warning, mouse reports cannot be injected on this system\n");
    }
    if (sink_) sink_->send(input);
}

MouseInjection& process_mouse_injection() {
    static MouseInjection injection(std::getenv("DISPLAY"), "/dev/uinput");
    return injection;
}

}  // namespace kestrel
