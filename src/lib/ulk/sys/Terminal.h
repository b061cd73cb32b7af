#pragma once

namespace ulk::sys {

class Terminal {
public:
    // Whether a person watches standard error.
    static bool is_stderr_terminal();
    // The columns of the terminal on standard error; 0 if not known.
    static int get_width();
};

} // namespace ulk::sys
