#include "ulk/util/Date.h"

#include "ulk/sys/UtcTime.h"
#include "ulk/udbg/log.h"
#include "ulk/util/BinaryStreamInput.h"
#include "ulk/util/BinaryStreamOutputBase.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace ulk::util {

namespace {

constexpr int sec_per_min = 60;
constexpr int min_per_hour = 60;
constexpr int hours_per_day = 24;
constexpr int days_per_year = 365;
constexpr int years_per_cycle = 400;
constexpr int days_per_cycle = 146097;

// Columns of the text form.
constexpr int col_day_name = 0;
constexpr int col_month_name = 4;
constexpr int col_day = 8;
constexpr int col_hour = 11;
constexpr int col_minute = 14;
constexpr int col_second = 17;
constexpr int col_year = 20;
constexpr int name_len = 3;

// The number that `nbr_col` characters stand for, whatever they are.
int read_number(char const* text, int col, int nbr_col) {
    int val = 0;
    for (int i = col; i < col + nbr_col; ++i) {
        val = val * 10 + static_cast<signed char>(text[i]) - '0';
    }
    return val;
}

// The last `nbr_col` digits.
void print_number(char* text, int col, int nbr_col, int val) {
    for (int i = col + nbr_col - 1; i >= col; --i) {
        text[i] = static_cast<char>('0' + std::abs(val % 10));
        val /= 10;
    }
}

void print_name(char* text, int col, char const* name) {
    std::memcpy(text + col, name, name_len);
}

// Takes whole units of `unit` out of `val`, which stays from 0 to below one unit.
long carry(long& val, long unit) {
    long nbr = val / unit;
    nbr -= val % unit < 0 ? 1 : 0;
    val -= nbr * unit;
    return nbr;
}

long divide_up(long val, long divider) {
    return val / divider + (val % divider > 0 ? 1 : 0);
}

} // namespace

int const Date::DAYS_PER_MONTH[MONTHS_PER_YEAR] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
char const* const Date::DAY_NAME_0_LIST[DAYS_PER_WEEK] = {"Mon", "Tue", "Wed", "Thu",
                                                          "Fri", "Sat", "Sun"};
char const* const Date::MONTH_NAME_0_LIST[MONTHS_PER_YEAR] = {
    "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

Date::Date(int year, int month, int day, int hour, int minute, double second) {
    set(year, month, day, hour, minute, second);
}

Date::Date(sys::UtcTime const& time, sys::TimeZoneType zone) {
    time.conv_to_date(*this, zone);
}

Date::Date(char const* text) {
    if (set(text) != 0) {
        throw std::runtime_error("ulk::sys::Date::Date(): Invalid string.");
    }
}

void Date::set(int year, int month, int day, int hour, int minute, double second) {
    _year = year;
    _month = month;
    _day = day;
    _hour = hour;
    _minute = minute;
    _second = second;
}

int Date::set(char const* text) {
    int const year = read_number(text, col_year, 4);
    if (year < -10000 || year > 10000) {
        ULK_LOG(ERROR, "Invalid year");
        return Err_INVALID_TEXT;
    }
    _year = year;

    auto const month_it =
        std::find_if(MONTH_NAME_0_LIST, MONTH_NAME_0_LIST + MONTHS_PER_YEAR, [=](char const* name) {
            return std::memcmp(name, text + col_month_name, name_len) == 0;
        });
    if (month_it == MONTH_NAME_0_LIST + MONTHS_PER_YEAR) {
        ULK_LOG(ERROR, "ctor(): Invalid month");
        return Err_INVALID_TEXT;
    }
    _month = static_cast<int>(month_it - MONTH_NAME_0_LIST);

    int const day = read_number(text, col_day, 2) - 1;
    if (day < 0 || day >= get_days_per_month(_year, _month)) {
        ULK_LOG(ERROR, "ctor(): Invalid day");
        return Err_INVALID_TEXT;
    }
    _day = day;
    return set_time(text);
}

// Hours and minutes have no lower bound: characters below '0' give negative ones.
int Date::set_time(char const* text) {
    int const hour = read_number(text, col_hour, 2);
    if (hour >= hours_per_day) {
        ULK_LOG(ERROR, "ctor(): Invalid hour");
        return Err_INVALID_TEXT;
    }
    _hour = hour;

    int const minute = read_number(text, col_minute, 2);
    if (minute >= min_per_hour) {
        ULK_LOG(ERROR, "ctor(): Invalid minute");
        return Err_INVALID_TEXT;
    }
    _minute = minute;

    int const second = read_number(text, col_second, 2);
    if (second < 0 || second >= sec_per_min) {
        ULK_LOG(ERROR, "ctor(): Invalid second");
        return Err_INVALID_TEXT;
    }
    _second = second;
    return 0;
}

void Date::print(char* text) const {
    std::memcpy(text, "... ... 00 00:00:00 0000", TEXT_LEN + 1);
    constexpr int saturday = 5; // the first day of year 0
    long day_index = compute_nbr_days_from_christ(_year, _month, _day) + saturday;
    carry(day_index, DAYS_PER_WEEK);
    print_name(text, col_day_name, DAY_NAME_0_LIST[day_index]);
    if (_month >= 0 && _month < MONTHS_PER_YEAR) {
        print_name(text, col_month_name, MONTH_NAME_0_LIST[_month]);
    }
    print_number(text, col_day, 2, static_cast<int>((_day + 1L) % 100));
    print_number(text, col_hour, 2, _hour);
    print_number(text, col_minute, 2, _minute);
    double const second = std::fmod(std::floor(_second), 100.0);
    print_number(text, col_second, 2, std::isfinite(second) ? static_cast<int>(second) : 0);
    print_number(text, col_year, 4, _year);
}

void Date::add_time(int year, int month, int day, int hour, int minute, double second) {
    // Far beyond any date that an int of years can hold, and still exact in a long.
    constexpr double max_second = 1e17;
    _second += second;
    _second = std::isnan(_second) ? 0.0 : std::clamp(_second, -max_second, max_second);
    double nbr_min = std::floor(_second / sec_per_min);
    _second -= nbr_min * sec_per_min;
    if (_second >= sec_per_min) { // a hair below a minute rounds up to it
        _second = 0;
        nbr_min += 1;
    }
    long min = long{_minute} + minute + static_cast<long>(nbr_min);
    long hr = long{_hour} + hour + carry(min, min_per_hour);
    long const nbr_days = long{day} + carry(hr, hours_per_day);
    long mo = long{_month} + month;
    long const yr = long{_year} + year + carry(mo, MONTHS_PER_YEAR);
    _minute = static_cast<int>(min);
    _hour = static_cast<int>(hr);

    int const first_month = static_cast<int>(mo);
    long const first_day = compute_nbr_days_from_christ(static_cast<int>(yr), first_month, 0);
    make_date_w_nbr_days_from_christ(_year, _month, _day, first_day + _day + nbr_days);
}

double Date::compute_duration_since(Date const& other) const {
    long const nbr_days = compute_nbr_days_from_christ(_year, _month, _day) -
                          compute_nbr_days_from_christ(other._year, other._month, other._day);
    long const nbr_hours = nbr_days * hours_per_day + (long{_hour} - other._hour);
    long const nbr_min = nbr_hours * min_per_hour + (long{_minute} - other._minute);
    return static_cast<double>(nbr_min * sec_per_min) + (_second - other._second);
}

void Date::write(BinaryStreamOutputBase& stream) const {
    stream.write(archi::Int32{_year});
    stream.write(static_cast<archi::UByte>(_month));
    stream.write(static_cast<archi::UByte>(_day));
    stream.write(static_cast<archi::UByte>(_hour));
    stream.write(static_cast<archi::UByte>(_minute));
    stream.write(_second);
}

int Date::read(BinaryStreamInput& stream) {
    auto const read_byte = [&](int& val, char const* err) {
        archi::UByte byte = 0;
        int const result = stream.read(byte, err);
        val = result == 0 ? byte : val;
        return result;
    };
    int result = stream.read(_year, "Date: Error while reading _year");
    if (result == 0) {
        result = read_byte(_month, "Date: Error while reading _month");
    }
    if (result == 0) {
        result = read_byte(_day, "Date: Error while reading _day");
    }
    if (result == 0) {
        result = read_byte(_hour, "Date: Error while reading _hour");
    }
    if (result == 0) {
        result = read_byte(_minute, "Date: Error while reading _minute");
    }
    return result == 0 ? stream.read(_second, "Date: Error while reading _second") : result;
}

bool Date::is_bissextile_year(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int Date::get_days_per_month(int year, int month) {
    if (month < 0 || month >= MONTHS_PER_YEAR) {
        return 0;
    }
    return DAYS_PER_MONTH[month] + (month == 1 && is_bissextile_year(year) ? 1 : 0);
}

long Date::compute_nbr_days_from_christ(int year, int month, int day) {
    long const y = year;
    return y * days_per_year + divide_up(y, 4) - divide_up(y, 100) + divide_up(y, 400) +
           compute_day_of_the_year(year, month, 0) + day;
}

int Date::compute_day_of_the_year(int year, int month, int day) {
    for (int i = 0; i < std::min(month, MONTHS_PER_YEAR); ++i) {
        day += get_days_per_month(year, i);
    }
    return day;
}

void Date::make_date_w_nbr_days_from_christ(int& year, int& month, int& day, long nbr_days) {
    // Within a cycle, where years have 365.2425 days on average, that average is off by less than
    // two days, so the year by one at most.
    long rest = nbr_days;
    long const nbr_cycles = carry(rest, days_per_cycle);
    int cycle_year = static_cast<int>(rest * years_per_cycle / days_per_cycle);
    if (compute_nbr_days_from_christ(cycle_year, 0, 0) > rest) {
        --cycle_year;
    } else if (compute_nbr_days_from_christ(cycle_year + 1, 0, 0) <= rest) {
        ++cycle_year;
    }
    rest -= compute_nbr_days_from_christ(cycle_year, 0, 0);
    month = 0;
    while (rest >= get_days_per_month(cycle_year, month)) {
        rest -= get_days_per_month(cycle_year, month);
        ++month;
    }
    day = static_cast<int>(rest);
    year = static_cast<int>(nbr_cycles * years_per_cycle + cycle_year);
}

} // namespace ulk::util
