// Records the pointer's button events on an X display, for the mouse-report
// test: it covers the screen with one window that takes every button event,
// prints "ready" once the window is up, then one line per event ("press 1",
// "release 4" ...) until it is ended.
#include <X11/Xlib.h>

#include <cstdio>

int main() {
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "pointer_events: cannot open the display\n");
        return 1;
    }
    const int screen = DefaultScreen(display);
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.event_mask = ButtonPressMask | ButtonReleaseMask | StructureNotifyMask;
    const Window window = XCreateWindow(display, RootWindow(display, screen), 0, 0, DisplayWidth(display, screen),
                                        DisplayHeight(display, screen), 0, CopyFromParent, InputOnly,
                                        CopyFromParent, CWOverrideRedirect | CWEventMask, &attributes);
    XMapWindow(display, window);
    for (;;) {
        XEvent event;
        XNextEvent(display, &event);
        switch (event.type) {
        case MapNotify:
            std::printf("ready\n");
            break;
        case ButtonPress:
        case ButtonRelease:
            std::printf("%s %u\n", event.type == ButtonPress ? "press" : "release", event.xbutton.button);
            break;
        default:
            break;
        }
        std::fflush(stdout);
    }
}
