#pragma once

#include "ulk/sys/TimeZoneType.h"

namespace ulk::sys {
class UtcTime;
}

namespace ulk::util {

class BinaryStreamInput;
class BinaryStreamOutputBase;

// A date of the Gregorian calendar, which is taken to have always been in force. Months and days
// count from 0 everywhere but in the text form. Fields that are set directly are not checked. A
// plain value.
class Date {
public:
    enum : int { Err_INVALID_TEXT = -3995 };

    static constexpr int TEXT_LEN = 24; // characters, without the terminator
    static constexpr int MONTHS_PER_YEAR = 12;
    static constexpr int DAYS_PER_WEEK = 7;

    static int const DAYS_PER_MONTH[MONTHS_PER_YEAR]; // of a year that is no leap year
    static char const* const DAY_NAME_0_LIST[DAYS_PER_WEEK];
    static char const* const MONTH_NAME_0_LIST[MONTHS_PER_YEAR];

    Date() = default; // the first instant of 2000
    Date(int year, int month, int day, int hour, int minute, double second);
    Date(sys::UtcTime const& time, sys::TimeZoneType zone);
    explicit Date(char const* text); // throws std::runtime_error for what set() refuses
    Date(Date const&) = default;
    Date& operator=(Date const&) = default;
    virtual ~Date() = default;

    void set(int year, int month, int day, int hour, int minute, double second);

    // The text form, "Thu Oct 24 13:05:09 2013", which must have TEXT_LEN characters at least. The
    // day name isn't looked at. 0, or Err_INVALID_TEXT; fields found valid before the failure are
    // set.
    int set(char const* text);

    // TEXT_LEN characters and a terminator. Seconds are cut, of the year the last four digits show.
    void print(char* text) const;

    int get_year() const { return _year; }
    int get_month() const { return _month; }
    int get_day() const { return _day; }
    int get_hour() const { return _hour; }
    int get_minute() const { return _minute; }
    double get_second() const { return _second; }

    // Adds, then carries what goes beyond a unit into the next. A day that the month does not have
    // is a day of the next month.
    void add_time(int year, int month, int day, int hour, int minute, double second);

    // In seconds, without leap seconds.
    double compute_duration_since(Date const& other) const;

    // 16 bytes. read() gives 0 or the code of the first field that is missing, with those before
    // it set.
    void write(BinaryStreamOutputBase& stream) const;
    int read(BinaryStreamInput& stream);

    static bool is_bissextile_year(int year);
    static int get_days_per_month(int year, int month); // 0 for months that don't exist

    // Days since the first day of year 0, and back; the way back takes negative counts too.
    static long compute_nbr_days_from_christ(int year, int month, int day);
    static void make_date_w_nbr_days_from_christ(int& year, int& month, int& day, long nbr_days);
    static int compute_day_of_the_year(int year, int month, int day);

private:
    int set_time(char const* text);

    int _year = 2000;
    int _month = 0;     // 0 to 11
    int _day = 0;       // 0 to 30
    int _hour = 0;      // 0 to 23
    int _minute = 0;    // 0 to 59
    double _second = 0; // 0 to below 60
};

} // namespace ulk::util
