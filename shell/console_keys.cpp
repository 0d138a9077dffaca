#include "shell/console_keys.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include "shell/session_context.h"

namespace kestrel {

bool take_console_key() {
    const int fd = open("/dev/tty", O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return false;
    bool taken = false;
    termios saved{};
    // A background process that touched the terminal would be stopped.
    if (tcgetpgrp(fd) == getpgrp() && tcgetattr(fd, &saved) == 0) {
        // Only for the instant of the poll: without line editing a key
        // typed so far can be read at once, and nothing is echoed. Restoring
        // at once means an interrupted session never leaves the terminal
        // silent.
        termios polling = saved;
        polling.c_lflag &= ~(ICANON | ECHO);
        polling.c_cc[VMIN] = 0;
        polling.c_cc[VTIME] = 0;
        if (tcsetattr(fd, TCSANOW, &polling) == 0) {
            unsigned char key;
            taken = read(fd, &key, 1) == 1;
            tcsetattr(fd, TCSANOW, &saved);
        }
    }
    close(fd);
    return taken;
}

int os_kbhit_command(ClientData client_data, Tcl_Interp* interp, int, const char*[]) {
    auto& session = *static_cast<SessionContext*>(client_data);
    session.message.assign(1, take_console_key() ? '1' : '0');
    Tcl_AppendElement(interp, session.message.c_str());
    return TCL_OK;
}

}  // namespace kestrel
