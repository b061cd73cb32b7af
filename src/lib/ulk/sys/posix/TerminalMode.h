#pragma once

namespace ulk::sys {

// The mode of the terminal on standard input. Signal handlers may restore it.
class TerminalMode {
public:
    // Keys come at once and without their echo; false when there is no terminal whose foreground
    // this process has.
    static bool make_raw();
    // As it was before make_raw(), if that was called; also from the background.
    static void restore();

    static bool is_in_foreground();
};

} // namespace ulk::sys
