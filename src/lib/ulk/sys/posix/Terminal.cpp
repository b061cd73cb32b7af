#include "ulk/sys/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace ulk::sys {

bool Terminal::is_stderr_terminal() {
    return ::isatty(STDERR_FILENO) == 1;
}

int Terminal::get_width() {
    winsize size = {};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

} // namespace ulk::sys
