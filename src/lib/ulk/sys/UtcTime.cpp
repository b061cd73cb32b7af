#include "ulk/sys/UtcTime.h"

#include "ulk/sys/Err.h"
#include "ulk/sys/posix/LocalTime.h"
#include "ulk/udbg/log.h"
#include "ulk/util/Date.h"

#include <chrono>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace ulk::sys {

namespace {

constexpr archi::Int64 epoch_ticks = 116444736000000000; // the first instant of 1970
constexpr archi::Int64 epoch_days = 719528;              // 1970 since year 0
constexpr int sec_per_minute = 60;
constexpr int min_per_hour = 60;
constexpr int hours_per_day = 24;
constexpr int sec_per_hour = sec_per_minute * min_per_hour;
constexpr int sec_per_day = sec_per_hour * hours_per_day;

using Ticks = std::chrono::duration<archi::Int64, std::ratio<1, UtcTime::_ticks_per_sec>>;
using Seconds = std::chrono::duration<archi::Int64>;
constexpr archi::Int64 max_minute = // the last one whose every tick can be counted
    (std::numeric_limits<archi::Int64>::max() - epoch_ticks) / UtcTime::_ticks_per_sec -
    sec_per_minute;

// Whether it names an instant of the calendar. There was no year 0.
bool is_valid_date(util::Date const& date) {
    return date.get_year() > 0 && date.get_day() >= 0 &&
           date.get_day() < util::Date::get_days_per_month(date.get_year(), date.get_month()) &&
           date.get_hour() >= 0 && date.get_hour() < hours_per_day && date.get_minute() >= 0 &&
           date.get_minute() < min_per_hour && date.get_second() >= 0 &&
           date.get_second() < sec_per_minute;
}

// Seconds from the start of 1970 to the date's minute, by the same clocks.
archi::Int64 compute_minute(util::Date const& date) {
    archi::Int64 const days =
        util::Date::compute_nbr_days_from_christ(date.get_year(), date.get_month(), date.get_day());
    return (days - epoch_days) * sec_per_day + date.get_hour() * sec_per_hour +
           date.get_minute() * sec_per_minute;
}

} // namespace

UtcTime::UtcTime(long c_time) {
    conv_from_c_time(c_time);
}

UtcTime::UtcTime(util::Date const& date, TimeZoneType zone) {
    if (conv_from_date(date, zone) != 0) {
        ULK_LOG(ERROR, "ctor(): Cannot construct from date.");
        throw std::runtime_error("ulk::sys::UtcTime::UtcTime(): Cannot construct from date.");
    }
}

void UtcTime::get_current_time(UtcTime& time) {
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    time.set(std::chrono::floor<Ticks>(now).count() + epoch_ticks);
}

archi::Int64 UtcTime::get_whole_sec() const {
    return _ticks / _ticks_per_sec - (_ticks % _ticks_per_sec < 0 ? 1 : 0);
}

int UtcTime::get_sec_ticks() const {
    archi::Int64 const rest = _ticks % _ticks_per_sec;
    return static_cast<int>(rest < 0 ? rest + _ticks_per_sec : rest);
}

void UtcTime::conv_from_c_time(long c_time) {
    // In unsigned arithmetic, where seconds beyond the range of the ticks wrap instead of erring.
    _ticks = static_cast<archi::Int64>(static_cast<archi::UInt64>(c_time) * _ticks_per_sec +
                                       epoch_ticks);
}

int UtcTime::conv_to_c_time(long& c_time) const {
    if (_ticks < epoch_ticks) {
        return Err_TIME_OUT_OF_C_RANGE;
    }
    archi::Int64 const sec = (_ticks - epoch_ticks) / _ticks_per_sec;
    if (sec > std::numeric_limits<archi::UInt32>::max()) {
        return Err_TIME_OUT_OF_C_RANGE;
    }
    c_time = static_cast<long>(sec);
    return 0;
}

int UtcTime::conv_to_date(util::Date& date, TimeZoneType zone) const {
    Seconds sec(get_whole_sec() - epoch_ticks / _ticks_per_sec);
    archi::Int64 offset = 0;
    if (zone == TimeZoneType_SYSTEM && !posix::LocalTime::get_offset(offset, sec.count())) {
        return Err_TIME_INVALID_DATE;
    }
    sec += Seconds(offset);
    auto const nbr_days = std::chrono::floor<std::chrono::days>(sec);
    int year = 0;
    int month = 0;
    int day = 0;
    util::Date::make_date_w_nbr_days_from_christ(year, month, day,
                                                 static_cast<long>(nbr_days.count() + epoch_days));
    int const sec_of_day = static_cast<int>((sec - nbr_days).count());
    archi::Int64 const minute_ticks =
        sec_of_day % sec_per_minute * _ticks_per_sec + get_sec_ticks();
    date.set(year, month, day, sec_of_day / sec_per_hour,
             sec_of_day / sec_per_minute % min_per_hour,
             static_cast<double>(minute_ticks) / static_cast<double>(_ticks_per_sec));
    return 0;
}

int UtcTime::conv_from_date(util::Date const& date, TimeZoneType zone) {
    if (!is_valid_date(date)) {
        return Err_TIME_INVALID_DATE;
    }
    // A tick is cut, but the seconds of a date are a hair less exact than ticks: what lies that
    // hair below a whole tick is that tick.
    constexpr double hair = 1e-5;
    double const ticks = date.get_second() * static_cast<double>(_ticks_per_sec) + hair;
    archi::Int64 const minute_ticks = static_cast<archi::Int64>(ticks);
    archi::Int64 sec = compute_minute(date);
    if (zone == TimeZoneType_SYSTEM && !posix::LocalTime::conv_to_utc(sec, sec)) {
        return Err_TIME_INVALID_DATE;
    }
    if (sec > max_minute) {
        return Err_TIME_INVALID_DATE;
    }
    _ticks = sec * _ticks_per_sec + epoch_ticks + minute_ticks;
    return 0;
}

archi::Int64 UtcTime::compute_diff_ticks(UtcTime const& other) const {
    return static_cast<archi::Int64>(static_cast<archi::UInt64>(_ticks) -
                                     static_cast<archi::UInt64>(other._ticks));
}

double UtcTime::compute_diff_s(UtcTime const& other) const {
    return static_cast<double>(compute_diff_ticks(other)) / static_cast<double>(_ticks_per_sec);
}

} // namespace ulk::sys
