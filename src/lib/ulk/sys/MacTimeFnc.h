#pragma once

namespace ulk::util {
class Date;
}

namespace ulk::sys {

class UtcTime;
struct UTCDateTime;

// From the platform's two forms of time to UtcTime and back. Absolute times are seconds since the
// first instant of 2001, UTC. Any thread.
class MacTimeFnc {
public:
    static void UtcTime_to_CFAbsoluteTime(double& at, UtcTime const& time);

    // Fractions of a tick are cut, and what no count can hold becomes an invalid time.
    static void CFAbsoluteTime_to_UtcTime(UtcTime& time, double const& at);

    // Failures are logged, and the result is an invalid time then.
    static void UTCDateTime_to_UtcTime(UtcTime& time, UTCDateTime const& stamp);
    static void UtcTime_to_UTCDateTime(UTCDateTime& stamp, UtcTime const& time);
};

// The date of tick 0.
util::Date const& MacTimeFnc_get_origin_gregorian_date();

// Seconds from tick 0 to the origin of absolute times.
double MacTimeFnc_get_cf_absolute_time_offset();

} // namespace ulk::sys
