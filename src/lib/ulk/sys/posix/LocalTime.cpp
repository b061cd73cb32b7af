#include "ulk/sys/posix/LocalTime.h"

#include <time.h>

namespace ulk::sys::posix {

bool LocalTime::get_offset(archi::Int64& offset, archi::Int64 time) {
    time_t const t = time;
    struct tm fields;
    ::tzset(); // localtime_r alone would keep the zone of its first call
    if (::localtime_r(&t, &fields) == nullptr) {
        return false;
    }
    offset = fields.tm_gmtoff;
    return true;
}

bool LocalTime::conv_to_utc(archi::Int64& time, archi::Int64 clock_time) {
    time_t const t = clock_time;
    struct tm fields;
    if (::gmtime_r(&t, &fields) == nullptr) {
        return false;
    }
    fields.tm_isdst = -1; // unknown
    fields.tm_wday = -1;
    time_t const result = ::mktime(&fields);
    if (result == -1 && fields.tm_wday == -1) { // -1 may also be the last second of 1969
        return false;
    }
    time = result;
    return true;
}

} // namespace ulk::sys::posix
