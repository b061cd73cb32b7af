#pragma once

namespace ulk::sys {

class Terminal {
public:
    // Whether a person watches standard error.
    static bool is_stderr_terminal();
};

} // namespace ulk::sys
