#include "host/session/TimeText.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>

using ulk::host::session::TimeText;
using Unit = TimeText::Unit;

namespace {

void expect(std::string const& txt, Unit unit, double val, long long bar = 0, long long beat = 0) {
    auto const time = TimeText::parse(txt);
    ASSERT_TRUE(time) << txt;
    EXPECT_EQ(unit, time->unit) << txt;
    EXPECT_EQ(val, time->val) << txt;
    EXPECT_EQ(bar, time->bar) << txt;
    EXPECT_EQ(beat, time->beat) << txt;
}

} // namespace

TEST(TimeTextTest, ReadsAllForms) {
    expect("1.5", Unit::SECOND, 1.5);
    expect("1.5 s", Unit::SECOND, 1.5);
    expect("1.5s", Unit::SECOND, 1.5);
    expect("-0.25 s", Unit::SECOND, -0.25);
    expect("+2", Unit::SECOND, 2);
    expect("1e-3", Unit::SECOND, 0.001);
    expect("250 ms", Unit::SECOND, 0.25);
    expect("7 ms", Unit::SECOND, 0.007);
    expect("72000 smp", Unit::FRAME, 72000);
    expect("1:02.5", Unit::SECOND, 62.5);
    expect("90:00", Unit::SECOND, 5400);
    expect("24:00:00", Unit::SECOND, 86400);
    expect("-0:30", Unit::SECOND, -30);
    expect("1|1", Unit::BAR, 0, 1, 1);
    expect("5|2|0.5", Unit::BAR, 0.5, 5, 2);
    expect("2|0|0", Unit::BAR, 0, 2, 0);
}

TEST(TimeTextTest, RefusesEverythingElse) {
    for (char const* const txt : {"",
                                  "s",
                                  " 1",
                                  "1 ",
                                  "1  s",
                                  "1 m",
                                  "1,5",
                                  "nan",
                                  "1:60",
                                  "1:60:00",
                                  "1:2:3:4",
                                  "1:-2",
                                  "1:",
                                  ":1",
                                  "1:1e1",
                                  "--1",
                                  "+-1",
                                  "1|",
                                  "|1",
                                  "1|1|",
                                  "1|1|1",
                                  "1|1|-0",
                                  "1|1|0|0",
                                  "-1|1",
                                  "1.5|1",
                                  "1|1.5",
                                  "1e3|1",
                                  "0x10",
                                  "1 s s",
                                  "1:00 s",
                                  "1e999",
                                  "1|1 s",
                                  "1000000001|1",
                                  "99999999999999999999:00"}) {
        EXPECT_FALSE(TimeText::parse(txt)) << txt;
    }
    EXPECT_FALSE(TimeText::parse(std::string("1\0", 2)));
}

TEST(TimeTextTest, ReadsBackWhatIsPrinted) {
    std::mt19937 rnd(4);
    for (int i = 0; i < 5000; ++i) {
        int const ms = static_cast<int>(rnd() % 86400000);
        char txt[64];
        std::snprintf(txt, sizeof(txt), "%d ms", ms);
        expect(txt, Unit::SECOND, ms / 1000.0);
        std::snprintf(txt, sizeof(txt), "%d:%02d:%02d", ms / 3600000, ms / 60000 % 60,
                      ms / 1000 % 60);
        expect(txt, Unit::SECOND, ms / 1000);
        std::snprintf(txt, sizeof(txt), "%d|%d|0.%03d", ms % 977, ms % 13, ms % 1000);
        expect(txt, Unit::BAR, std::stod("0." + std::to_string(1000 + ms % 1000).substr(1)),
               ms % 977, ms % 13);
    }
}
