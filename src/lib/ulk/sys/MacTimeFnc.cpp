#include "ulk/sys/MacTimeFnc.h"

#include "ulk/sys/UTCDateTime.h"
#include "ulk/sys/UtcTime.h"
#include "ulk/udbg/log.h"
#include "ulk/util/Date.h"

#include <cmath>
#include <limits>

namespace ulk::sys {

namespace {

constexpr archi::Int64 sec_per_day = 86400;
constexpr archi::Int64 days_1601_2001 = 146097; // one whole cycle of the calendar
constexpr archi::Int64 days_1601_1970 = 134774;
constexpr archi::Int64 at_offset = days_1601_2001 * sec_per_day;
constexpr archi::Int64 epoch_offset = days_1601_1970 * sec_per_day;
constexpr archi::Int64 max_sec = std::numeric_limits<archi::Int64>::max() / UtcTime::_ticks_per_sec;
constexpr archi::Int64 nsec_per_tick = 100;
constexpr archi::Int64 nsec_per_sec = 1000000000;

// Results of the conversion of a time stamp.
enum : int { Conv_OK = 0, Conv_UNDERFLOW = -8850, Conv_OVERFLOW = -8851, Conv_ILLEGAL = -8852 };

int conv_stamp(UtcTime& time, UTCDateTime const& stamp) {
    if (stamp.nsec < 0 || stamp.nsec >= nsec_per_sec) {
        return Conv_ILLEGAL;
    }
    if (stamp.sec < -epoch_offset) {
        return Conv_UNDERFLOW;
    }
    if (stamp.sec >= max_sec - epoch_offset) {
        return Conv_OVERFLOW;
    }
    time.set((stamp.sec + epoch_offset) * UtcTime::_ticks_per_sec + stamp.nsec / nsec_per_tick);
    return Conv_OK;
}

} // namespace

util::Date const& MacTimeFnc_get_origin_gregorian_date() {
    static util::Date const date(UtcTime::_reference_year, 0, 0, 0, 0, 0.0);
    return date;
}

double MacTimeFnc_get_cf_absolute_time_offset() {
    static double const offset =
        util::Date(2001, 0, 0, 0, 0, 0.0)
            .compute_duration_since(MacTimeFnc_get_origin_gregorian_date());
    return offset;
}

// Seconds and fractions are kept apart: together they exceed the precision of a double.
void MacTimeFnc::UtcTime_to_CFAbsoluteTime(double& at, UtcTime const& time) {
    at = static_cast<double>(time.get_whole_sec() - at_offset) +
         time.get_sec_ticks() / static_cast<double>(UtcTime::_ticks_per_sec);
}

void MacTimeFnc::CFAbsoluteTime_to_UtcTime(UtcTime& time, double const& at) {
    constexpr double ticks_per_sec = static_cast<double>(UtcTime::_ticks_per_sec);
    double const whole = std::floor(at);
    if (!(std::fabs(whole) < static_cast<double>(max_sec - at_offset))) {
        time = UtcTime();
        return;
    }
    archi::Int64 const sec = static_cast<archi::Int64>(whole) + at_offset;
    // Cut towards zero, which for instants before tick 0 is towards the future.
    double const part = (at - whole) * ticks_per_sec;
    double const fraction = sec >= 0 ? std::floor(part) : std::ceil(part);
    time.set(sec * UtcTime::_ticks_per_sec + static_cast<archi::Int64>(fraction));
}

void MacTimeFnc::UTCDateTime_to_UtcTime(UtcTime& time, UTCDateTime const& stamp) {
    time = UtcTime();
    int const result = conv_stamp(time, stamp);
    if (result == Conv_UNDERFLOW) {
        ULK_LOG(ERROR, "UCConvertUTCDateTimeToCFAbsoluteTime: Underflow error");
    } else if (result == Conv_OVERFLOW) {
        ULK_LOG(ERROR, "UCConvertUTCDateTimeToCFAbsoluteTime: Overflow error");
    } else if (result == Conv_ILLEGAL) {
        ULK_LOG(ERROR, "UCConvertUTCDateTimeToCFAbsoluteTime: Illegal clock value");
    } else if (result != Conv_OK) {
        ULK_LOG(ERROR, "UCConvertUTCDateTimeToCFAbsoluteTime: Unknown error %1%", result);
    }
}

void MacTimeFnc::UtcTime_to_UTCDateTime(UTCDateTime& stamp, UtcTime const& time) {
    if (!time.is_valid()) {
        ULK_LOG(ERROR, "UCConvertUTCDateTimeToCFAbsoluteTime failed with error %1%",
                static_cast<int>(Conv_UNDERFLOW));
    }
    stamp.sec = time.get_whole_sec() - epoch_offset;
    stamp.nsec = static_cast<archi::Int32>(time.get_sec_ticks() * nsec_per_tick);
}

} // namespace ulk::sys
