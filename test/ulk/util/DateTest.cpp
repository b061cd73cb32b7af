#include "ulk/util/Date.h"

#include "ulk/util/BinaryStreamInput.h"
#include "ulk/util/BinaryStreamOutput.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>

using ulk::util::Date;

namespace {

std::string print(Date const& date) {
    char txt[26] = "#########################";
    date.print(txt);
    EXPECT_EQ('\0', txt[24]);
    return txt;
}

void expect_date(Date const& d, int year, int month, int day, int hour, int minute, double second) {
    EXPECT_EQ(year, d.get_year());
    EXPECT_EQ(month, d.get_month());
    EXPECT_EQ(day, d.get_day());
    EXPECT_EQ(hour, d.get_hour());
    EXPECT_EQ(minute, d.get_minute());
    EXPECT_EQ(second, d.get_second());
}

} // namespace

TEST(DateTest, DefaultIsTheStartOf2000) {
    expect_date(Date(), 2000, 0, 0, 0, 0, 0.0);
    Date const d(-3, 14, 99, -1, 70, 1e9);
    expect_date(d, -3, 14, 99, -1, 70, 1e9);
    Date const copy = d;
    expect_date(copy, -3, 14, 99, -1, 70, 1e9);
}

TEST(DateTest, TextFormReadsAndPrints) {
    Date const d("Thu Oct 24 13:05:09 2013");
    expect_date(d, 2013, 9, 23, 13, 5, 9.0);
    EXPECT_EQ("Thu Oct 24 13:05:09 2013", print(d));
    Date const other_day("Xxx Oct 24 13:05:09 2013");
    expect_date(other_day, 2013, 9, 23, 13, 5, 9.0);
    EXPECT_EQ("Thu Oct 24 13:05:09 2013", print(other_day));
    Date const more("????Oct 24 13:05:09 2013 and more");
    expect_date(more, 2013, 9, 23, 13, 5, 9.0);
}

TEST(DateTest, EveryMonthAndDayOfTheWeekPrints) {
    char const* const list[] = {
        "Sat Jan 01 00:00:00 0000", "Tue Feb 29 00:00:00 2000", "Wed Mar 01 00:00:00 2000",
        "Sun Apr 30 23:59:59 2023", "Thu May 18 10:10:10 1978", "Fri Jun 09 01:02:03 2023",
        "Mon Jul 17 00:00:00 2023", "Sat Aug 12 00:00:00 2023", "Sat Sep 02 00:00:00 1752",
        "Fri Oct 15 00:00:00 1582", "Sat Nov 21 08:14:31 2026", "Fri Dec 31 23:59:59 9999"};
    for (char const* const txt : list) {
        EXPECT_EQ(txt, print(Date(txt)));
    }
}

TEST(DateTest, BadTextsAreRefusedAndKeepWhatCameBefore) {
    struct Row {
        char const* txt;
        Date expected;
    };
    Row const list[] = {
        {"Thu Oct 24 13:05:09 :000", {1999, 5, 5, 5, 5, 5}}, // year 10000 is the last
        {"Thu Oct 24 13:05:09 A013", {1999, 5, 5, 5, 5, 5}},
        {"Thu Oct 24 13:05:09  \x80\x80\x80", {1999, 5, 5, 5, 5, 5}},
        {"Thu oct 24 13:05:09 2013", {2013, 5, 5, 5, 5, 5}},
        {"Thu Foo 24 13:05:09 2013", {2013, 5, 5, 5, 5, 5}},
        {"Thu Feb 30 13:05:09 2013", {2013, 1, 5, 5, 5, 5}},
        {"Thu Feb 29 13:05:09 1900", {1900, 1, 5, 5, 5, 5}},
        {"Thu Oct 00 13:05:09 2013", {2013, 9, 5, 5, 5, 5}},
        {"Thu Oct 32 13:05:09 2013", {2013, 9, 5, 5, 5, 5}},
        {"Thu Oct  4 13:05:09 2013", {2013, 9, 5, 5, 5, 5}},
        {"Thu Oct 24 24:05:09 2013", {2013, 9, 23, 5, 5, 5}},
        {"Thu Oct 24 13:60:09 2013", {2013, 9, 23, 13, 5, 5}},
        {"Thu Oct 24 13:05:60 2013", {2013, 9, 23, 13, 5, 5}},
        {"Thu Oct 24 13:05: 9 2013", {2013, 9, 23, 13, 5, 5}},
    };
    for (Row const& row : list) {
        Date d(1999, 5, 5, 5, 5, 5);
        bool const year_ok_flag = std::string(row.txt).find(":000") != std::string::npos;
        int const result = d.set(row.txt);
        if (year_ok_flag) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(10000, d.get_year());
            continue;
        }
        EXPECT_EQ(-3995, result) << row.txt;
        EXPECT_EQ(print(row.expected), print(d)) << row.txt;
        try {
            Date const thrown(row.txt);
            ADD_FAILURE() << row.txt;
        } catch (std::runtime_error const& e) {
            EXPECT_STREQ("ulk::sys::Date::Date(): Invalid string.", e.what());
        }
    }
    EXPECT_EQ(0, Date().set("Thu Feb 29 13:05:09 2000"));
}

TEST(DateTest, HoursAndMinutesHaveNoLowerBoundInTexts) {
    Date d;
    EXPECT_EQ(0, d.set("Thu Oct 24  3: 5:09 2013"));
    expect_date(d, 2013, 9, 23, -157, -155, 9.0);
    EXPECT_EQ(0, d.set("Thu Oct 24 13:05:09 -013"));
    EXPECT_EQ(-2987, d.get_year());
}

TEST(DateTest, SecondsAreCutWhenPrinted) {
    EXPECT_EQ("Sat Jan 01 00:00:59 2000", print(Date(2000, 0, 0, 0, 0, 59.5)));
    EXPECT_EQ("Sat Jan 01 00:00:00 2000", print(Date(2000, 0, 0, 0, 0, 0.999999)));
}

TEST(DateTest, PrintingWhatIsNoDateStaysInItsColumns) {
    int const far = std::numeric_limits<int>::max();
    double const inf = std::numeric_limits<double>::infinity();
    for (Date const& d : {Date(far, far, far, far, far, inf),
                          Date(-far - 1, -far - 1, -far - 1, -far - 1, -far - 1, -inf),
                          Date(-7, 12, 31, 24, 60, 60), Date(0, -1, -1, -1, -1, -1.5)}) {
        std::string const txt = print(d);
        ASSERT_EQ(24u, txt.size());
        EXPECT_EQ(' ', txt[3]);
        EXPECT_EQ(' ', txt[7]);
        EXPECT_EQ(':', txt[13]);
        EXPECT_EQ(':', txt[16]);
        EXPECT_EQ(' ', txt[19]);
        EXPECT_EQ(std::string::npos, txt.find_first_not_of("0123456789", 20));
    }
}

TEST(DateTest, LeapYearsFollowTheGregorianRule) {
    EXPECT_TRUE(Date::is_bissextile_year(2000));
    EXPECT_FALSE(Date::is_bissextile_year(1900));
    EXPECT_TRUE(Date::is_bissextile_year(2012));
    EXPECT_FALSE(Date::is_bissextile_year(2013));
    EXPECT_TRUE(Date::is_bissextile_year(0));
    EXPECT_TRUE(Date::is_bissextile_year(-4));
    EXPECT_EQ(29, Date::get_days_per_month(2000, 1));
    EXPECT_EQ(28, Date::get_days_per_month(1900, 1));
    EXPECT_EQ(31, Date::get_days_per_month(1900, 11));
    EXPECT_EQ(0, Date::get_days_per_month(1900, 12));
    EXPECT_EQ(0, Date::get_days_per_month(1900, -1));
}

TEST(DateTest, DayCountsAgreeWithTheCalendarAndComeBack) {
    using namespace std::chrono;
    sys_days const origin = year(0) / 1 / 1;
    long const end = (sys_days(year(3000) / 1 / 1) - origin).count();
    for (long n = -200000; n < end; ++n) {
        year_month_day const ymd(origin + days(n));
        int y = 0;
        int m = 0;
        int d = 0;
        Date::make_date_w_nbr_days_from_christ(y, m, d, n);
        ASSERT_EQ(static_cast<int>(ymd.year()), y) << n;
        ASSERT_EQ(static_cast<int>(static_cast<unsigned>(ymd.month())), m + 1);
        ASSERT_EQ(static_cast<int>(static_cast<unsigned>(ymd.day())), d + 1);
        ASSERT_EQ(n, Date::compute_nbr_days_from_christ(y, m, d));
    }
    EXPECT_EQ(0, Date::compute_nbr_days_from_christ(0, 0, 0));
    EXPECT_EQ(59, Date::compute_day_of_the_year(2013, 2, 0));
    EXPECT_EQ(65, Date::compute_day_of_the_year(2000, 2, 5));
    EXPECT_EQ(4, Date::compute_day_of_the_year(2000, 0, 4));
}

TEST(DateTest, DurationsArePureCalendarDifferences) {
    Date const a("Thu Oct 24 13:05:09 2013");
    Date b = a;
    EXPECT_EQ(0.0, a.compute_duration_since(b));
    b.add_time(0, 0, 1, 1, 1, 1.5);
    EXPECT_EQ(86400.0 + 3600 + 60 + 1.5, b.compute_duration_since(a));
    EXPECT_EQ(-(86400.0 + 3600 + 60 + 1.5), a.compute_duration_since(b));
}

TEST(DateTest, AddingCarriesBothWays) {
    Date d(2013, 11, 30, 23, 30, 0);
    d.add_time(0, 0, 0, 0, 0, 3600.0);
    expect_date(d, 2014, 0, 0, 0, 30, 0.0);
    d.set(2014, 0, 0, 0, 0, 0);
    d.add_time(0, 0, 0, 0, 0, -1.0);
    expect_date(d, 2013, 11, 30, 23, 59, 59.0);
    d.set(2013, 0, 29, 1, 2, 3);
    d.add_time(0, 1, 0, 0, 0, 0.0);
    expect_date(d, 2013, 2, 1, 1, 2, 3.0);
    d.set(2012, 1, 28, 0, 0, 0);
    d.add_time(1, 0, 0, 0, 0, 0);
    expect_date(d, 2013, 2, 0, 0, 0, 0.0);
    d.set(2013, 4, 4, 4, 4, 4);
    d.add_time(-1, -17, -40, -30, -100, -200.5);
    Date expected(2010, 11, 0, 0, 0, 0);
    EXPECT_LT(d.compute_duration_since(expected), 0);
    EXPECT_EQ("Sun Oct 24 20:20:43 2010", print(d));
}

TEST(DateTest, AHairBelowZeroIsNoSixtiethSecond) {
    Date d;
    d.add_time(0, 0, 0, 0, 0, -1e-30);
    EXPECT_LT(d.get_second(), 60.0);
    EXPECT_GE(d.get_second(), 0.0);
    for (double sec : {1e300, -1e300, std::numeric_limits<double>::quiet_NaN()}) {
        d = Date();
        d.add_time(0, 0, 0, 0, 0, sec);
        EXPECT_LT(d.get_second(), 60.0);
        EXPECT_GE(d.get_second(), 0.0);
        EXPECT_GE(d.get_minute(), 0);
        EXPECT_LT(d.get_minute(), 60);
    }
}

// Adding days and times is arithmetic on one count of seconds.
TEST(DateTest, AddingTimesIsAddingSeconds) {
    std::mt19937 rng(1);
    auto const rnd = [&](int n) {
        return static_cast<int>(rng() % static_cast<unsigned>(2 * n + 1)) - n;
    };
    for (int i = 0; i < 50000; ++i) {
        Date const a(1600 + static_cast<int>(rng() % 800), static_cast<int>(rng() % 12), 0,
                     static_cast<int>(rng() % 24), static_cast<int>(rng() % 60),
                     static_cast<double>(rng() % 240) / 4);
        int const day = rnd(1000);
        int const hour = rnd(1000);
        int const minute = rnd(10000);
        double const second = rnd(1000000) / 4.0;
        Date b = a;
        b.add_time(0, 0, day, hour, minute, second);
        ASSERT_EQ(day * 86400.0 + hour * 3600.0 + minute * 60.0 + second,
                  b.compute_duration_since(a));
        ASSERT_TRUE(b.get_month() >= 0 && b.get_month() < 12 && b.get_day() >= 0 &&
                    b.get_day() < Date::get_days_per_month(b.get_year(), b.get_month()) &&
                    b.get_hour() >= 0 && b.get_hour() < 24 && b.get_minute() >= 0 &&
                    b.get_minute() < 60 && b.get_second() >= 0 && b.get_second() < 60);
        ASSERT_EQ(print(b), print(Date(print(b).c_str())));
    }
}

TEST(DateTest, SerialFormIsSixteenBytes) {
    std::vector<unsigned char> bytes;
    ulk::util::BinaryStreamOutput out(bytes);
    Date(2013, 9, 23, 13, 5, 1.0).write(out);
    std::vector<unsigned char> const expected = {0,    0,    7, 0xDD, 9, 23, 13, 5,
                                                 0x3F, 0xF0, 0, 0,    0, 0,  0,  0};
    EXPECT_EQ(expected, bytes);
    ulk::util::BinaryStreamInput in(bytes);
    Date d;
    EXPECT_EQ(0, d.read(in));
    EXPECT_TRUE(in.empty());
    expect_date(d, 2013, 9, 23, 13, 5, 1.0);
}

TEST(DateTest, FieldsReadBeforeTheEndStaySet) {
    std::vector<unsigned char> const bytes = {0xFF, 0xFF, 0xFF, 0xFE, 9, 23, 200, 5,
                                              0x3F, 0xF0, 0,    0,    0, 0,  0,   0};
    for (size_t len = 0; len < bytes.size(); ++len) {
        ulk::util::BinaryStreamInput in(bytes.data(), len);
        Date d(1, 2, 3, 4, 6, 8.0);
        EXPECT_EQ(-3994, d.read(in)) << len;
        expect_date(d, len < 4 ? 1 : -2, len < 5 ? 2 : 9, len < 6 ? 3 : 23, len < 7 ? 4 : 200,
                    len < 8 ? 6 : 5, 8.0);
    }
}
