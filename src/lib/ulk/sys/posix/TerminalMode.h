#pragma once

namespace ulk::sys {

// The mode of the terminal on standard input. Signal handlers may restore it.
class TerminalMode {
public:
    // Keys come at once and without their echo, whoever has set another mode meanwhile; false when
    // there is no terminal whose foreground this process has. From the first time on, what stops or
    // crashes the process restores the mode first.
    static bool make_raw();
    // As make_raw() found it, if that was called; also from the background.
    static void restore();
};

} // namespace ulk::sys
