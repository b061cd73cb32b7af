#pragma once

#include "ulk/archi/types.h"

namespace ulk::sys::posix {

// The system's time zone, that of the environment at the time of the call. Times are seconds since
// 1970, UTC; both give false where the zone has no answer. Any thread.
class LocalTime {
public:
    // Seconds by which the zone's clocks are ahead of UTC at that time.
    static bool get_offset(archi::Int64& offset, archi::Int64 time);

    // The time at which the zone's clocks show `clock_time`, their seconds since they showed the
    // first of January 1970, 0:00. Where they were set back or forward, the C library chooses.
    static bool conv_to_utc(archi::Int64& time, archi::Int64 clock_time);
};

} // namespace ulk::sys::posix
