#pragma once

#include "ulk/archi/types.h"
#include "ulk/sys/TimeZoneType.h"

namespace ulk::util {
class Date;
}

namespace ulk::sys {

// An instant: a count of 100 ns ticks since the first instant of 1601, UTC. Negative counts denote
// no date. A plain value.
class UtcTime {
public:
    static constexpr archi::Int64 _ticks_per_sec = 10000000;
    static constexpr int _reference_year = 1601;

    UtcTime() = default; // not valid
    explicit UtcTime(long c_time);

    // Throws std::runtime_error for what is no date.
    UtcTime(util::Date const& date, TimeZoneType zone);

    static void get_current_time(UtcTime& time);

    archi::Int64 get() const { return _ticks; }
    void set(archi::Int64 ticks) { _ticks = ticks; }
    bool is_valid() const { return _ticks >= 0; }

    // The count in two parts: whole seconds, towards the past, and the ticks above them.
    archi::Int64 get_whole_sec() const;
    int get_sec_ticks() const;

    // Seconds since 1970. The way back gives 0, or Err_TIME_OUT_OF_C_RANGE and leaves `c_time` for
    // instants whose count does not fit in 32 unsigned bits.
    void conv_from_c_time(long c_time);
    int conv_to_c_time(long& c_time) const;

    // The calendar of the zone. 0, or Err_TIME_INVALID_DATE where the instant or the date has no
    // counterpart; the result is untouched then.
    int conv_to_date(util::Date& date, TimeZoneType zone) const;
    int conv_from_date(util::Date const& date, TimeZoneType zone);

    // This minus other.
    archi::Int64 compute_diff_ticks(UtcTime const& other) const;
    double compute_diff_s(UtcTime const& other) const;

    friend bool operator<(UtcTime const& lhs, UtcTime const& rhs) {
        return lhs.compute_diff_ticks(rhs) < 0;
    }
    friend bool operator==(UtcTime const& lhs, UtcTime const& rhs) = default;

private:
    archi::Int64 _ticks = -1;
};

} // namespace ulk::sys
