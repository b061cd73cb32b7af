#include "ulk/txt/out/Print.h"
#include "ulk/txt/out/PrintNa.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

using ulk::txt::out::Print;
using ulk::txt::out::PrintNa;

namespace {

template <class... Args>
std::string fmt(char const* format, Args... args) {
    Print print;
    print.print(format);
    (print.arg(args), ...);
    return print;
}

template <class T>
std::string fmt_param(char const* format, T val, long p1, long p2 = 0, long p3 = 0, long p4 = 0) {
    Print print;
    print.print(format).arg(val, p1, p2, p3, p4);
    return print;
}

// A class whose demangled name is longer than the room there is for it
template <class A, class B>
struct Pair {};
using Pair1 = Pair<Pair<int, int>, Pair<int, long>>;
using Pair2 = Pair<Pair<Pair1, Pair1>, Pair<Pair1, Pair1>>;
using Pair3 = Pair<Pair<Pair2, Pair2>, Pair<Pair2, Pair2>>;
using Pair4 = Pair<Pair<Pair3, Pair3>, Pair<Pair3, Pair3>>;

} // namespace

TEST(PrintTest, TextAndReferences) {
    EXPECT_EQ("", fmt(""));
    EXPECT_EQ("plain", fmt("plain"));
    EXPECT_EQ("100%", fmt("100%%"));
    EXPECT_EQ("%a", fmt("%a"));
    EXPECT_EQ("77", fmt("%1%%1%", 7));
    EXPECT_EQ("21", fmt("%2%%1%", 1, 2));
    EXPECT_EQ("5", fmt("%2%", 4, 5));
    EXPECT_EQ("a 1 b 2 c", fmt("a %1% b %2% c", 1, 2));
    EXPECT_EQ("7%", fmt("%1 %%%", 7));
}

TEST(PrintTest, InvalidFormatPrintsNothing) {
    for (char const* format : {"100%", "%1", "a %1m", "x%1%%", "%65%", "%1%%65%", "%4294967297%",
                               "%99999999999999999999%", "%18446744073709551617%"}) {
        Print print;
        print.print(format);
        for (int i = 0; i < 70; ++i) {
            print.arg(7);
        }
        EXPECT_EQ("", static_cast<std::string const&>(print)) << format;
    }
}

TEST(PrintTest, SixtyFourArguments) {
    Print print;
    print.print("%64% %1%");
    for (int i = 1; i <= 63; ++i) {
        print.arg(i);
        EXPECT_EQ(0, print.get_string_len());
    }
    print.arg(64).arg(65).arg(66);
    EXPECT_EQ("64 1", static_cast<std::string const&>(print));
}

TEST(PrintTest, NumberZeroShowsNothing) {
    EXPECT_EQ("ab", fmt("a%0%b"));
    EXPECT_EQ("a7", fmt("a%0%%1%", 7));
}

TEST(PrintTest, ExamplesOfTheLanguage) {
    EXPECT_EQ("42", fmt("%1%", 42));
    EXPECT_EQ("0xFF", fmt("0x%1X%", 255));
    EXPECT_EQ("00AB", fmt("%1rm4w0X%", 171));
    EXPECT_EQ("00000101b", fmt("%2rm8w0b%b", 0, 5));
    EXPECT_EQ("000000AB", fmt_param("%1m!rw0X%", 171, 8));
    EXPECT_EQ("  7", fmt("%1m3r%", 7));
    EXPECT_EQ("###", fmt("%1m3r%", 1234));
    EXPECT_EQ("#", fmt("%1m3%", 1234));
    EXPECT_EQ("+3.1", fmt("%1fp1+%", 3.14159));
    EXPECT_EQ("  2.5", fmt("%1m5rp1%", 2.5));
    EXPECT_EQ("1 234 567", fmt("%1s3%", 1234567));
    EXPECT_EQ("0.1", fmt("%1%", 0.1));
    EXPECT_EQ("1e10", fmt("%1%", 1e10));
    EXPECT_EQ("1e-7", fmt("%1%", 0.0000001));
}

TEST(PrintTest, GoldenFloats) {
    EXPECT_EQ("0.333333", fmt("%1%", 1.0 / 3));
    EXPECT_EQ("1.234568e10", fmt("%1%", 12345678901.0));
    EXPECT_EQ("9999999999", fmt("%1%", 9999999999.0));
    EXPECT_EQ("5e-324", fmt("%1%", 5e-324));
    EXPECT_EQ("1267650600228229400000000000000", fmt("%1f%", std::ldexp(1.0, 100)));
    EXPECT_EQ("12.345678e3", fmt("%1es3%", 12345.678));
    EXPECT_EQ("120e-6", fmt("%1es3%", 0.00012));
    EXPECT_EQ("1e1010", fmt("%1b%", 1024.0));
    EXPECT_EQ("0.1999999999999a", fmt("%1xp20%", 0.1));
    EXPECT_EQ("0.00011001101", fmt("%1bp12%", 0.1));
    EXPECT_EQ("-00002.5", fmt("%1m8rw0%", -2.5));
    EXPECT_EQ("-0", fmt("%1fp3%", -1e-7));
    EXPECT_EQ("0.3", fmt("%1p1%", 0.25));
    EXPECT_EQ("0.3", fmt("%1p1%", 0.35));
    EXPECT_EQ("0.1", fmt("%1p1%", 0.15));
    EXPECT_EQ("1", fmt("%1p2%", 1.005));
    EXPECT_EQ("5000000000.000001", fmt("%1%", 5e9));
    EXPECT_EQ("10", fmt("%1fp1%", 9.99));
    EXPECT_EQ("10.0", fmt("%1fvp1%", 9.99));
    EXPECT_EQ("1e10", fmt("%1%", 9999999999.9999996));
    EXPECT_EQ("0.000001", fmt("%1%", 9.9999999e-7));
}

TEST(PrintTest, FloatZero) {
    EXPECT_EQ("0", fmt("%1%", 0.0));
    EXPECT_EQ("0", fmt("%1%", -0.0));
    EXPECT_EQ("0.00", fmt("%1vp2%", 0.0));
    EXPECT_EQ("0e0", fmt("%1e%", 0.0));
    EXPECT_EQ("+0e+00", fmt("%1e2+%", 0.0));
    EXPECT_EQ(" 0", fmt("%1-%", -0.0));
}

TEST(PrintTest, FloatLayout) {
    EXPECT_EQ("1 234 567.25", fmt("%1fs3%", 1234567.25));
    EXPECT_EQ("+1.5e+003", fmt("%1e3+%", 1500.0));
    EXPECT_EQ(" 1.5e+3", fmt("%1e-%", 1500.0)); // a sign mode also shows the exponent's plus
    EXPECT_EQ("1.5E3", fmt("%1eD%", 1500.0));
    EXPECT_EQ("3.14", fmt("%1m4%", 3.14159));
    EXPECT_EQ("3", fmt("%1m1v%", 3.14159));
    EXPECT_EQ("3", fmt("%1m2v%", 3.14159));
    EXPECT_EQ("####", fmt("%1m4rf%", 31415.9));
    EXPECT_EQ("#", fmt("%1m4f%", 31415.9));
    EXPECT_EQ("3.1  ", fmt("%1m5kp1%", 3.14159));
    EXPECT_EQ(" 3.1 ", fmt("%1m5cp1%", 3.14159));
    EXPECT_EQ("1.9", fmt("%1tp1%", 1.99));
    EXPECT_EQ("0 001 234.5", fmt("%1rm11w0s3p1%", 1234.5));
    EXPECT_EQ("0", fmt("%1fp0%", 0.4));
    EXPECT_EQ("4e-1", fmt("%1p0%", 0.4)); // below what no decimal shows
    EXPECT_EQ("FF.8", fmt("%1X%", 255.5));
    EXPECT_EQ("1e14", fmt("%1x%", std::ldexp(1.0, 80))); // the exponent in the base as well
    EXPECT_EQ("0.25", fmt("%1%", 0.25L));
    EXPECT_EQ("0.5", fmt("%1%", 0.5f));
}

TEST(PrintTest, FloatNearTheLimits) {
    double const max = std::numeric_limits<double>::max();
    EXPECT_EQ("1.797693e308", fmt("%1%", max));
    EXPECT_EQ("1e308", fmt("%1p0t%", max));
    EXPECT_EQ("1.7976931348623157e308", fmt("%1p20%", max));
    EXPECT_EQ("2.225074e-308", fmt("%1%", std::numeric_limits<double>::min()));
    EXPECT_EQ("1e23", fmt("%1%", 1e23));
    EXPECT_EQ("1e24", fmt("%1p20%", 1e24));
}

TEST(PrintTest, NonFiniteThrows) {
    double const inf = std::numeric_limits<double>::infinity();
    for (double const val : {inf, -inf, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THROW(fmt("%1%", val), std::runtime_error);
        EXPECT_EQ("", fmt("%1m%", val));
        EXPECT_EQ("7", fmt("%2%", val, 7));
    }
    EXPECT_THROW(fmt("%1%", std::numeric_limits<long double>::max()), std::runtime_error);
    char buf[16] = "keep it";
    PrintNa print(buf, 15);
    try {
        print.print("a %1% b").arg(inf);
        FAIL();
    } catch (std::runtime_error const& e) {
        EXPECT_STREQ("ulk::math::FloatMultiPrec::from_dbl(): provided data is NaN", e.what());
    }
    EXPECT_STREQ("a ", buf);
}

TEST(PrintTest, Integers) {
    EXPECT_EQ("+0", fmt("%1+%", 0));
    EXPECT_EQ(" 0", fmt("%1-%", 0));
    EXPECT_EQ("-1", fmt("%1X%", -1));
    EXPECT_EQ("FFFFFFFF", fmt("%1X%", 0xFFFFFFFFu));
    EXPECT_EQ("ff", fmt("%1x%", 255));
    EXPECT_EQ("-1", fmt("%1%", ~0ull));
    EXPECT_EQ("-1", fmt("%1%", ~0ul)); // 64 bits that are zero-extended already
    long long const min = std::numeric_limits<long long>::min();
    EXPECT_EQ("-9223372036854775808", fmt("%1%", min));
    EXPECT_EQ("-1" + std::string(63, '0'), fmt("%1b%", min));
    EXPECT_EQ("-1" + std::string(63, '0'), fmt("%1bm65%", min));
    EXPECT_EQ("#", fmt("%1bm64%", min));
    EXPECT_EQ("-8000000000000000", fmt("%1x%", min));
    EXPECT_EQ("0 001 234", fmt("%1rm9w0s3%", 1234));
    EXPECT_EQ("-0 001 234", fmt("%1rm10w0s3%", -1234));
    EXPECT_EQ("****-5", fmt("%1rm6w*%", -5));
    EXPECT_EQ("  -5   ", fmt("%1cm7w*%", -5));
    EXPECT_EQ("-5     ", fmt("%1km7w*%", -5));
    EXPECT_EQ("-5", fmt("%1lm7w*%", -5));
    int const dummy = 0;
    EXPECT_EQ(fmt("%1x%", reinterpret_cast<unsigned long>(&dummy)),
              fmt("%1x%", static_cast<void const*>(&dummy)));
    EXPECT_EQ("1 2 3", fmt("%1s1%", 123));
}

TEST(PrintTest, Strings) {
    EXPECT_EQ("", fmt("%1%", static_cast<char const*>(nullptr)));
    EXPECT_EQ("abc", fmt("%1m3%", "abcdef"));
    EXPECT_EQ("def", fmt("%1m3r%", "abcdef"));
    EXPECT_EQ("bcd", fmt("%1m3c%", "abcdef"));
    EXPECT_EQ("..ab", fmt("%1m4rw.%", "ab"));
    EXPECT_EQ("ab  ", fmt("%1m4kw.%", "ab"));
    EXPECT_EQ(" ab  ", fmt("%1m5c%", "ab"));
    EXPECT_EQ("ab", fmt("%1r%", "ab")); // never filled without a length
    EXPECT_EQ("aB\xC3\xA9", fmt("%1%", "aB\xC3\xA9"));
    EXPECT_EQ("AB\xC3\xA9", fmt("%1D%", "aB\xC3\xA9"));
    EXPECT_EQ("xxab", fmt("%1m4rwxd%", "aB"));
    EXPECT_EQ("XXab", fmt("%1m4rwXd%", "aB")); // the fill keeps its case
}

TEST(PrintTest, Parameters) {
    EXPECT_EQ("", fmt("%1m!%", 5));
    EXPECT_EQ("", fmt_param("%1m!%", 5, -3));
    EXPECT_EQ("  5", fmt_param("%1m$2r%", 5, 0, 3));
    EXPECT_EQ("  5", fmt_param("%1m$!r%", 5, 2, 3));
    EXPECT_EQ("  5", fmt_param("%1m$$1r%", 5, 2, 3));
    EXPECT_EQ("   5", fmt_param("%1m!m!m!m!r%", 5, 1, 2, 3, 4));
    EXPECT_EQ("[]", fmt_param("[%1m!m!m!m!m!%]", 5, 1, 2, 3, 4));
    EXPECT_EQ("[]", fmt_param("[%1m$5%]", 5, 1));
    EXPECT_EQ("[]", fmt_param("[%1m$0%]", 5, 1));
    EXPECT_EQ("[]", fmt_param("[%1m$$1%]", 5, 7));
    EXPECT_EQ("5", fmt_param("%1!9 r%", 5, 1)); // skipped, and uses no parameter
    EXPECT_EQ("  5", fmt_param("%1!m!r%", 5, 3));
    EXPECT_EQ(" 1e+03", fmt_param("%1e!-%", 1000.0, 2));
    EXPECT_EQ("1e0010", fmt_param("%1g4%", 1e10, 0));
}

TEST(PrintTest, WrongOptionsSilenceTheirArgument) {
    for (char const* format : {"a%1m%b", "a%1p%b", "a%1s%b", "a%1w%b", "a%1mr%b", "a%1m$%b",
                               "a%1m$$%b", "a%1e$%b", "a%1m2147483640%b", "a%1m21474836400%b"}) {
        EXPECT_EQ("ab", fmt(format, 7)) << format;
    }
    EXPECT_EQ("a7b", fmt("a%1m214748363%b", 7));
    EXPECT_EQ("a7b", fmt("a%1m2147483639%b", 7));
}

TEST(PrintTest, TypeNames) {
    Print print;
    print.print("%1%").arg(typeid(int));
    EXPECT_EQ("int", static_cast<std::string const&>(print));
    print.print("%1m4%").arg(typeid(Print));
    EXPECT_EQ("ulk:", static_cast<std::string const&>(print));
    print.print("%1%").arg(typeid(Pair4));
    EXPECT_EQ(typeid(Pair4).name(), static_cast<std::string const&>(print));
}

TEST(PrintTest, CatExtends) {
    Print print;
    std::string const& txt = print;
    print.cat("a%1%").arg(1);
    EXPECT_EQ("a1", txt);
    print.cat("b%2%").arg(8).arg(2);
    EXPECT_EQ("a1b2", txt);
    print.cat("c");
    EXPECT_EQ("a1b2c", txt);
    print.arg(3);
    EXPECT_EQ("a1b2c", txt);
    print.cat("%1%");
    EXPECT_EQ("a1b2c", txt);
    print.cat("%");
    EXPECT_EQ("", txt);
    print.cat("d");
    EXPECT_EQ("d", txt);
    print.print("e");
    EXPECT_EQ("e", txt);
    print.reset();
    EXPECT_EQ("", txt);
}

TEST(PrintNaTest, BufferEndsTheText) {
    char buf[8] = "0123456";
    PrintNa print(buf, 4);
    print.print("%1%").arg("abcdef");
    EXPECT_STREQ("abcd", buf);
    EXPECT_EQ('5', buf[5]);
    EXPECT_TRUE(print.is_truncated());
    EXPECT_EQ(6, print.get_string_len());
    print.cat("gh");
    EXPECT_STREQ("abcd", buf);
    EXPECT_EQ(8, print.get_string_len());
    print.print("abcd");
    EXPECT_FALSE(print.is_truncated());
    EXPECT_EQ(4, print.get_string_len());
    print.print("%1rm1000000000%").arg(1);
    EXPECT_STREQ("    ", buf);
    EXPECT_EQ(1000000000, print.get_string_len());
}

TEST(PrintNaTest, BufferIsUntouchedWhileArgumentsAreMissing) {
    char buf[8] = "old";
    PrintNa print(buf, 7);
    print.print("new %2%").arg(1);
    EXPECT_STREQ("old", buf);
    print.arg(2);
    EXPECT_STREQ("new 2", buf);
    print.print("%");
    EXPECT_STREQ("new 2", buf);
}

TEST(PrintNaTest, RoomForTheTerminatorAlone) {
    char buf[2] = {'x', 'y'};
    PrintNa print(buf, 0);
    print.print("abc");
    EXPECT_EQ('\0', buf[0]);
    EXPECT_EQ('y', buf[1]);
}
