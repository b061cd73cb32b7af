#include "ulk/txt/utf8/ConvNum.h"

#include <charconv>
#include <limits>

namespace {

using ulk::txt::utf8::ConvNum;
using Limits = std::numeric_limits<long long>;

struct Row {
    char const* str;
    int base;
    int ret_val;
    long long val;
    long stop_pos;
};

TEST(ConvNumTest, ReadsNumbers) {
    Row const rows[] = {
        {"  -12", 10, 0, -12, 5},
        {"ff", 16, 0, 255, 2},
        {"FfG", 16, 0, 255, 2},
        {"+7 apples", 10, 0, 7, 2},
        {"0019", 8, 0, 1, 3},
        {"129", 2, 0, 1, 1},
        {"zZ", 36, 0, 35 * 36 + 35, 2},
        {"\t\r\n 5", 10, 0, 5, 5},
        {"\xC2\xA0\xE2\x80\x89\xC2\x85"
         "5",
         10, 0, 5, 8}, // no-break space, thin space, next line
        {"1 2", 10, 0, 1, 1},
        {"-0", 10, 0, 0, 2},
        {"", 10, -3498, 0, 0},
        {"   ", 10, -3498, 0, 3},
        {"+", 10, -3498, 0, 1},
        {"-", 10, -3498, 0, 1},
        {"- 1", 10, -3498, 0, 1},
        {"--1", 10, -3498, 0, 1},
        {"abc", 10, -3498, 0, 0},
        {"\x80 1", 10, -3498, 0, 0},
        {" \xC3 1", 10, -3498, 0, 1},
    };
    for (Row const& row : rows) {
        long long val = 99;
        long stop_pos = 99;
        EXPECT_EQ(ConvNum::conv_str_to_int64(val, row.str, row.base, &stop_pos), row.ret_val)
            << row.str;
        EXPECT_EQ(val, row.val) << row.str;
        EXPECT_EQ(stop_pos, row.stop_pos) << row.str;
        EXPECT_EQ(ConvNum::conv_str_to_int64(row.str, row.base), row.val) << row.str;
        EXPECT_EQ(ConvNum::conv_str_to_int64(val, row.str, row.base, nullptr), row.ret_val);
    }
}

TEST(ConvNumTest, OverflowGivesTheBoundAndTakesAllDigits) {
    Row const rows[] = {
        {"9223372036854775807", 10, 0, Limits::max(), 19},
        {"9223372036854775808", 10, 0, Limits::max(), 19},
        {"-9223372036854775807", 10, 0, -Limits::max(), 20},
        {"-9223372036854775808", 10, 0, Limits::min(), 20},
        {"-9223372036854775809", 10, 0, Limits::min(), 20},
        {"99999999999999999999", 10, 0, Limits::max(), 20},
        {"99999999999999999999999999x", 10, 0, Limits::max(), 26},
        {"7fffffffffffffff", 16, 0, Limits::max(), 16},
        {"8000000000000000", 16, 0, Limits::max(), 16},
    };
    for (Row const& row : rows) {
        long long val = 99;
        long stop_pos = 99;
        EXPECT_EQ(ConvNum::conv_str_to_int64(val, row.str, row.base, &stop_pos), row.ret_val);
        EXPECT_EQ(val, row.val) << row.str;
        EXPECT_EQ(stop_pos, row.stop_pos) << row.str;
    }
}

TEST(ConvNumTest, WritesNumbers) {
    struct {
        long long val;
        int base;
        char const* txt;
    } const rows[] = {{0, 10, "0"},
                      {-1, 10, "-1"},
                      {255, 16, "FF"},
                      {-255, 16, "-FF"},
                      {35, 36, "Z"},
                      {5, 2, "101"},
                      {Limits::max(), 10, "9223372036854775807"},
                      {Limits::min(), 10, "-9223372036854775808"},
                      {Limits::min(), 16, "-8000000000000000"}};
    for (auto const& row : rows) {
        long const len = static_cast<long>(std::strlen(row.txt));
        char dst[80] = "before";
        EXPECT_EQ(ConvNum::conv_int64_to_str(dst, row.val, len, row.base), 0);
        EXPECT_STREQ(dst, row.txt);
        std::strcpy(dst, "before");
        EXPECT_EQ(ConvNum::conv_int64_to_str(dst, row.val, len - 1, row.base), -3499);
        EXPECT_STREQ(dst, "before");
    }
    char dst[80] = "before";
    EXPECT_EQ(ConvNum::conv_int64_to_str(dst, 100, 2, 10), -3499);
    EXPECT_EQ(ConvNum::conv_int64_to_str(dst, 100, 79, 1), -3499); // there is no such base
    EXPECT_STREQ(dst, "before");
}

TEST(ConvNumTest, ReadsWhatItWrites) {
    std::mt19937_64 rnd(8);
    for (int i = 0; i < 100000; ++i) {
        long long const val = static_cast<long long>(rnd()) >> (rnd() % 64);
        int const base = 2 + static_cast<int>(rnd() % 35);
        char dst[80];
        ASSERT_EQ(ConvNum::conv_int64_to_str(dst, val, 79, base), 0);
        char want[80];
        char* const end = std::to_chars(want, want + 79, val, base).ptr;
        *end = '\0';
        for (char* c = want; c != end; ++c) {
            *c = static_cast<char>(*c >= 'a' ? *c - 32 : *c);
        }
        ASSERT_STREQ(dst, want);
        ASSERT_EQ(ConvNum::conv_str_to_int64(dst, base), val);
    }
}

} // namespace
