#include "ulk/sys/Terminal.h"

#include <unistd.h>

namespace ulk::sys {

bool Terminal::is_stderr_terminal() {
    return ::isatty(STDERR_FILENO) == 1;
}

} // namespace ulk::sys
