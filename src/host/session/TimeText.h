#pragma once

#include <optional>
#include <string_view>

namespace ulk::host::session {

// A time as it is written.
struct TimeText {
    enum class Unit {
        SECOND, // val
        FRAME,  // val, at the session's rate
        BAR,    // bar, beat, and val as the fraction of a beat
    };

    Unit unit = Unit::SECOND;
    double val = 0;
    long long bar = 0;
    long long beat = 0;

    // "1.5", "1.5 s", "250 ms", "72000 smp", "1:02.5", "1:00:02.5", "5|2" or "5|2|0.5". Nothing for
    // everything else.
    static std::optional<TimeText> parse(std::string_view txt);

    // A number in full, such as "-1.5e3", without anything around it; nothing for NaN.
    static std::optional<double> parse_number(std::string_view txt);
};

} // namespace ulk::host::session
