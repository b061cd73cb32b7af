#include "ulk/sys/UtcTime.h"

#include "support/EnvScope.h"
#include "ulk/sys/MacTimeFnc.h"
#include "ulk/sys/UTCDateTime.h"
#include "ulk/util/Date.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>

#include <time.h>

using namespace ulk;
using archi::Int64;
using sys::MacTimeFnc;
using sys::UtcTime;
using util::Date;

namespace {

constexpr Int64 epoch = 116444736000000000;
constexpr Int64 max_ticks = std::numeric_limits<Int64>::max();

UtcTime make(Int64 ticks) {
    UtcTime t;
    t.set(ticks);
    return t;
}

std::string print(Date const& date) {
    char txt[25];
    date.print(txt);
    return txt;
}

} // namespace

TEST(UtcTimeTest, NewTimesAreNotValidAndZeroIs) {
    EXPECT_FALSE(UtcTime().is_valid());
    EXPECT_EQ(-1, UtcTime().get());
    EXPECT_TRUE(make(0).is_valid());
    EXPECT_FALSE(make(std::numeric_limits<Int64>::min()).is_valid());
    EXPECT_EQ(10000000, UtcTime::_ticks_per_sec);
    EXPECT_EQ(1601, UtcTime::_reference_year);
    Date const d(make(0), sys::TimeZoneType_UTC);
    EXPECT_EQ("Mon Jan 01 00:00:00 1601", print(d));
}

TEST(UtcTimeTest, SecondsSince1970) {
    EXPECT_EQ(epoch, UtcTime(0).get());
    EXPECT_EQ(epoch - 10000000, UtcTime(-1).get());
    long c_time = 5;
    EXPECT_EQ(0, UtcTime(0).conv_to_c_time(c_time));
    EXPECT_EQ(0, c_time);
    EXPECT_EQ(0, make(epoch + 9999999).conv_to_c_time(c_time));
    EXPECT_EQ(0, c_time);
    c_time = 5;
    EXPECT_EQ(-2981, make(epoch - 1).conv_to_c_time(c_time));
    EXPECT_EQ(-2981, UtcTime().conv_to_c_time(c_time));
    EXPECT_EQ(-2981, make(max_ticks).conv_to_c_time(c_time));
    EXPECT_EQ(-2981, UtcTime(4294967296L).conv_to_c_time(c_time));
    EXPECT_EQ(5, c_time);
    EXPECT_EQ(0, make(UtcTime(4294967296L).get() - 1).conv_to_c_time(c_time));
    EXPECT_EQ(4294967295L, c_time);
}

TEST(UtcTimeTest, DifferencesAndOrder) {
    UtcTime const a = make(1000);
    UtcTime const b = make(10001000);
    EXPECT_EQ(1.0, b.compute_diff_s(a));
    EXPECT_EQ(-1.0, a.compute_diff_s(b));
    EXPECT_EQ(10000000, b.compute_diff_ticks(a));
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_FALSE(a < a);
    EXPECT_TRUE(a == a);
    EXPECT_TRUE(a != b);
}

TEST(UtcTimeTest, CurrentTimeIsTheClocks) {
    UtcTime now;
    long const before = ::time(nullptr);
    UtcTime::get_current_time(now);
    long c_time = 0;
    ASSERT_EQ(0, now.conv_to_c_time(c_time));
    EXPECT_LE(before, c_time);
    EXPECT_GE(before + 10, c_time);
}

// Against the calendar of the standard library.
TEST(UtcTimeTest, DatesAgreeWithTheCalendarAndComeBack) {
    std::mt19937_64 rng(1);
    using namespace std::chrono;
    sys_days const reference = year(1601) / 1 / 1;
    for (int i = 0; i < 200000; ++i) {
        // Up to the year 32767, the last of the standard's calendar.
        Int64 const ticks = static_cast<Int64>(rng() % (9000000000000000000u));
        UtcTime const time = make(ticks);
        Date d;
        ASSERT_EQ(0, time.conv_to_date(d, sys::TimeZoneType_UTC));
        Int64 const nbr_days = ticks / 864000000000;
        Int64 const rest = ticks % 864000000000;
        year_month_day const ymd(reference + days(nbr_days));
        ASSERT_EQ(static_cast<int>(ymd.year()), d.get_year());
        ASSERT_EQ(static_cast<unsigned>(ymd.month()), static_cast<unsigned>(d.get_month()) + 1);
        ASSERT_EQ(static_cast<unsigned>(ymd.day()), static_cast<unsigned>(d.get_day()) + 1);
        ASSERT_EQ(rest / 36000000000, d.get_hour());
        ASSERT_EQ(rest / 600000000 % 60, d.get_minute());
        ASSERT_EQ(static_cast<double>(rest % 600000000) / 1e7, d.get_second());
        UtcTime back;
        ASSERT_EQ(0, back.conv_from_date(d, sys::TimeZoneType_UTC));
        ASSERT_EQ(ticks, back.get());
    }
}

TEST(UtcTimeTest, DatesBefore1601HaveNegativeTicks) {
    Date d;
    EXPECT_EQ(0, make(-10000000).conv_to_date(d, sys::TimeZoneType_UTC));
    EXPECT_EQ("Sun Dec 31 23:59:59 1600", print(d));
    UtcTime t;
    EXPECT_EQ(0, t.conv_from_date(d, sys::TimeZoneType_UTC));
    EXPECT_EQ(-10000000, t.get());
    EXPECT_EQ(0, make(std::numeric_limits<Int64>::min()).conv_to_date(d, sys::TimeZoneType_UTC));
    EXPECT_EQ(0, make(max_ticks).conv_to_date(d, sys::TimeZoneType_UTC));
    EXPECT_EQ(30828, d.get_year());
}

TEST(UtcTimeTest, WhatIsNoDateIsRefused) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    Date const bad_list[] = {{0, 0, 0, 0, 0, 0},     {-5, 0, 0, 0, 0, 0},
                             {2000, -1, 0, 0, 0, 0}, {2000, 12, 0, 0, 0, 0},
                             {2000, 0, -1, 0, 0, 0}, {2000, 0, 31, 0, 0, 0},
                             {1900, 1, 28, 0, 0, 0}, {2000, 0, 0, -1, 0, 0},
                             {2000, 0, 0, 24, 0, 0}, {2000, 0, 0, 0, -1, 0},
                             {2000, 0, 0, 0, 60, 0}, {2000, 0, 0, 0, 0, -0.1},
                             {2000, 0, 0, 0, 0, 60}, {2000, 0, 0, 0, 0, nan},
                             {30829, 0, 0, 0, 0, 0}, {2147483647, 11, 30, 23, 59, 59}};
    for (Date const& d : bad_list) {
        for (auto zone : {sys::TimeZoneType_UTC, sys::TimeZoneType_SYSTEM}) {
            UtcTime t = make(7);
            EXPECT_EQ(-2982, t.conv_from_date(d, zone)) << d.get_year();
            EXPECT_EQ(7, t.get());
            try {
                UtcTime const thrown(d, zone);
                ADD_FAILURE();
            } catch (std::runtime_error const& e) {
                EXPECT_STREQ("ulk::sys::UtcTime::UtcTime(): Cannot construct from date.", e.what());
            }
        }
    }
    EXPECT_EQ(
        0, UtcTime().conv_from_date(Date(2000, 1, 28, 23, 59, 59.9999999), sys::TimeZoneType_UTC));
}

TEST(UtcTimeTest, SystemZoneIsTheEnvironments) {
    UtcTime const winter = UtcTime(1357000000); // Tue Jan 01 00:26:40 2013
    UtcTime const summer = UtcTime(1372638000); // Mon Jul 01 00:20:00 2013
    for (auto const& [zone, winter_txt, summer_txt] :
         {std::tuple{"UTC0", "Tue Jan 01 00:26:40 2013", "Mon Jul 01 00:20:00 2013"},
          {"CET-1CEST,M3.5.0,M10.5.0/3", "Tue Jan 01 01:26:40 2013", "Mon Jul 01 02:20:00 2013"},
          {"XST4:30:10", "Mon Dec 31 19:56:30 2012", "Sun Jun 30 19:49:50 2013"}}) {
        test::EnvScope const scope("TZ", zone);
        EXPECT_EQ(winter_txt, print(Date(winter, sys::TimeZoneType_SYSTEM)));
        EXPECT_EQ(summer_txt, print(Date(summer, sys::TimeZoneType_SYSTEM)));
        EXPECT_EQ("Mon Jul 01 00:20:00 2013", print(Date(summer, sys::TimeZoneType_UTC)));
        EXPECT_EQ("Mon Jul 01 00:20:00 2013",
                  print(Date(summer, static_cast<sys::TimeZoneType>(9))));
        for (Int64 ticks :
             {winter.get(), summer.get() + 1234567, Int64{0}, epoch - 10000000, epoch - 1}) {
            Date d;
            ASSERT_EQ(0, make(ticks).conv_to_date(d, sys::TimeZoneType_SYSTEM));
            EXPECT_EQ(ticks, UtcTime(d, sys::TimeZoneType_SYSTEM).get()) << zone;
        }
    }
}

TEST(MacTimeFncTest, AbsoluteTimesCountFrom2001) {
    EXPECT_EQ(12622780800.0, sys::MacTimeFnc_get_cf_absolute_time_offset());
    UtcTime const first(sys::MacTimeFnc_get_origin_gregorian_date(), sys::TimeZoneType_UTC);
    EXPECT_EQ(0, first.get());
    UtcTime const origin(Date(2001, 0, 0, 0, 0, 0), sys::TimeZoneType_UTC);
    double at = 5;
    MacTimeFnc::UtcTime_to_CFAbsoluteTime(at, origin);
    EXPECT_EQ(0.0, at);
    MacTimeFnc::UtcTime_to_CFAbsoluteTime(at, make(origin.get() + 12500000));
    EXPECT_EQ(1.25, at);
    MacTimeFnc::UtcTime_to_CFAbsoluteTime(at, make(0));
    EXPECT_EQ(-12622780800.0, at);
    UtcTime t;
    MacTimeFnc::CFAbsoluteTime_to_UtcTime(t, 1.25);
    EXPECT_EQ(origin.get() + 12500000, t.get());
    MacTimeFnc::CFAbsoluteTime_to_UtcTime(t, -1.25);
    EXPECT_EQ(origin.get() - 12500000, t.get());
    MacTimeFnc::CFAbsoluteTime_to_UtcTime(t, 1.99e-7);
    EXPECT_EQ(origin.get() + 1, t.get());
    MacTimeFnc::CFAbsoluteTime_to_UtcTime(t, -12622780800.25);
    EXPECT_EQ(-2500000, t.get());
    MacTimeFnc::CFAbsoluteTime_to_UtcTime(t, std::nextafter(-12622780800.0, -1e11));
    EXPECT_EQ(-19, t.get()); // cut towards zero
}

TEST(MacTimeFncTest, AbsoluteTimesWithoutACountAreInvalid) {
    double const inf = std::numeric_limits<double>::infinity();
    for (double at : {inf, -inf, std::nan(""), 1e300, -1e300, 1e12}) {
        UtcTime t = make(5);
        MacTimeFnc::CFAbsoluteTime_to_UtcTime(t, at);
        EXPECT_FALSE(t.is_valid());
    }
}

TEST(MacTimeFncTest, AbsoluteTimesComeBackToTheirPrecision) {
    std::mt19937_64 rng(2);
    for (int i = 0; i < 100000; ++i) {
        Int64 const ticks = static_cast<Int64>(rng() % (3 * 126227808000000000u));
        double at = 0;
        MacTimeFnc::UtcTime_to_CFAbsoluteTime(at, make(ticks));
        long double const exact = static_cast<long double>(ticks - 126227808000000000) / 1e7L;
        ASSERT_NEAR(static_cast<double>(exact), at, std::fabs(at) * 2.3e-16);
        UtcTime back;
        MacTimeFnc::CFAbsoluteTime_to_UtcTime(back, at);
        ASSERT_NEAR(0, static_cast<double>(back.get() - ticks), std::fabs(at) * 1e7 * 2.3e-16 + 1);
    }
}

TEST(MacTimeFncTest, TimeStampsComeBackToTheTick) {
    std::mt19937_64 rng(3);
    for (int i = 0; i < 10000; ++i) {
        Int64 const ticks = static_cast<Int64>(rng() >> 1);
        sys::UTCDateTime stamp;
        MacTimeFnc::UtcTime_to_UTCDateTime(stamp, make(ticks));
        ASSERT_GE(stamp.nsec, 0);
        ASSERT_LT(stamp.nsec, 1000000000);
        UtcTime back;
        MacTimeFnc::UTCDateTime_to_UtcTime(back, stamp);
        ASSERT_EQ(ticks, back.get());
    }
    UtcTime t;
    MacTimeFnc::UTCDateTime_to_UtcTime(t, {0, 199});
    EXPECT_EQ(epoch + 1, t.get());
}

TEST(MacTimeFncTest, TimeStampsOutsideAreInvalid) {
    constexpr Int64 far = std::numeric_limits<Int64>::max();
    for (sys::UTCDateTime const stamp : {sys::UTCDateTime{-11644473601, 0},
                                         {-far, 0},
                                         {far, 0},
                                         {910692730086, 0},
                                         {0, -1},
                                         {0, 1000000000}}) {
        UtcTime t = make(5);
        MacTimeFnc::UTCDateTime_to_UtcTime(t, stamp);
        EXPECT_FALSE(t.is_valid()) << stamp.sec;
    }
    UtcTime t;
    MacTimeFnc::UTCDateTime_to_UtcTime(t, {-11644473600, 0});
    EXPECT_EQ(0, t.get());
}
