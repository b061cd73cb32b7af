#pragma once

namespace ulk::udbg {

class Debugger {
public:
    // Severity of a log line.
    enum Level : int {
        Level_NONE,
        Level_PANIC,
        Level_ERROR,
        Level_WARNING,
        Level_INFO,
        Level_DEBUG,
        Level_ASSERT,

        Level_NBR_ELT
    };

    static char const* get_level_txt(Level level); // empty for NONE, "OOPS" out of the range
    static int get_syslog_priority(Level level);   // -1 for levels that are not sent
};

} // namespace ulk::udbg
