// The lines in the log, to the letter, and the functions that they name.

#include "support/LogCatcher.h"

#include "ulk/txt/unicode/CharData.h"
#include "ulk/txt/utf8/Codec8.h"
#include "ulk/txt/utf8/ConvNum.h"
#include "ulk/txt/utf8/utf8.h"

#include <climits>

namespace {

namespace utf8 = ulk::txt::utf8;
using ulk::txt::unicode::Char;
using utf8::Codec8;
using Lines = std::vector<std::string>;

class Utf8LogTest : public ::testing::Test {
protected:
    // What decoding src logs.
    Lines decode(char const* src) {
        Char c;
        int len;
        Codec8::decode_char(c, src, len);
        return _log.take();
    }

    test::LogCatcher _log;
    std::string _dst;
    long _pos = 0;
};

TEST_F(Utf8LogTest, CharacterOutOfRange) {
    struct {
        Char c;
        char const* line;
    } const rows[] = {
        {0x110000, "E get_char_seq_len_ucs(): character out of range (0x110000)"},
        {INT_MAX, "E get_char_seq_len_ucs(): character out of range (0x7FFFFFFF)"},
        {-1, "E get_char_seq_len_ucs(): character out of range (negative 0x1)"},
        {-0xABC, "E get_char_seq_len_ucs(): character out of range (negative 0xABC)"},
        {INT_MIN, "E get_char_seq_len_ucs(): character out of range (negative 0x80000000)"}};
    for (auto const& row : rows) {
        int len;
        char seq[5];
        Codec8::get_char_seq_len_ucs(len, row.c);
        EXPECT_EQ(_log.take(), Lines{row.line});
        Codec8::encode_char(seq, row.c, len);
        EXPECT_EQ(_log.take(), Lines{row.line});
        Codec8::encode_char(seq, row.c);
        EXPECT_EQ(_log.take(), Lines{row.line});
        Codec8::encode_char(_dst, row.c);
        EXPECT_EQ(_log.take(), Lines{row.line});
        utf8::encode_wstring(_dst, std::wstring(2, static_cast<wchar_t>(row.c)));
        EXPECT_EQ(_log.take(), Lines{row.line});
    }
    for (std::string const& function : _log.take_functions()) {
        EXPECT_NE(function.find("Codec8::get_char_seq_len_ucs("), function.npos) << function;
    }
}

TEST_F(Utf8LogTest, InvalidFollowByte) {
    std::string const begin = "E decode_char(): Byte index ";
    struct {
        char const* src;
        char const* rest;
    } const rows[] = {{"\xE2\x28\xA1", "1 of the 3-byte UTF-8 sequence is invalid (0x28)."},
                      {"\xE2\x82\xC3", "2 of the 3-byte UTF-8 sequence is invalid (0xC3)."},
                      {"\xF0\x9F\x98\xFF", "3 of the 4-byte UTF-8 sequence is invalid (0xFF)."},
                      {"\xC3", "1 of the 2-byte UTF-8 sequence is invalid (0x0)."}};
    for (auto const& row : rows) {
        Lines const want{begin + row.rest};
        EXPECT_EQ(decode(row.src), want);
        Codec8::check_char_valid(row.src);
        EXPECT_EQ(_log.take(), want);
        Codec8::check_string_valid(row.src);
        EXPECT_EQ(_log.take(), want);
        Codec8::check_string_valid(std::string(300, 'a') + row.src + std::string(300, 'b'));
        EXPECT_EQ(_log.take().size(), 1U);
        std::wstring wide;
        utf8::decode_wstring(wide, row.src);
        EXPECT_EQ(_log.take(), want);
        utf8::strstr_ci(row.src, "z", _pos);
        EXPECT_EQ(_log.take(), want);
        utf8::strstr_ci("a", row.src, _pos);
        EXPECT_EQ(_log.take(), want);
        utf8::strstr_ci((std::string(300, 'a') + row.src).c_str(), "z", _pos);
        EXPECT_EQ(_log.take(), want);
        utf8::ConvNum::conv_str_to_int64(row.src, 10);
        EXPECT_EQ(_log.take(), want);
    }
    for (std::string const& function : _log.take_functions()) {
        EXPECT_NE(function.find("Codec8::decode_char("), function.npos) << function;
    }
}

TEST_F(Utf8LogTest, CaseConversion) {
    std::string const decode = "(): Cannot decode UTF-8 character at source index ";
    utf8::conv_to_upper_case(_dst, "ab\x80z", 100);
    EXPECT_EQ(_log.take(), Lines{"E conv_to_upper_case" + decode + "2."});
    EXPECT_NE(_log.take_functions().at(0).find("utf8::conv_to_upper_case("), std::string::npos);
    utf8::conv_to_lower_case(_dst, (std::string(100, 'x') + "\xFF").c_str(), 200);
    EXPECT_EQ(_log.take(), Lines{"E conv_to_lower_case" + decode + "100."});
    EXPECT_NE(_log.take_functions().at(0).find("utf8::conv_to_lower_case("), std::string::npos);

    std::string const follow =
        "E decode_char(): Byte index 1 of the 2-byte UTF-8 sequence is invalid (0x7A).";
    utf8::conv_to_upper_case(_dst, "\xC3z", 100);
    EXPECT_EQ(_log.take(), (Lines{follow, "E conv_to_upper_case" + decode + "0."}));
    utf8::conv_to_lower_case(_dst, "\xC3z", 100);
    EXPECT_EQ(_log.take(), (Lines{follow, "E conv_to_lower_case" + decode + "0."}));

    std::string const range = "E get_char_seq_len_ucs(): character out of range (0x13FFFF)";
    std::string const encode =
        "(): Cannot encode character at source index 1 to UTF-8 (val: 0x13FFFF).";
    utf8::conv_to_upper_case(_dst, "a\xF4\xBF\xBF\xBFz", 100);
    EXPECT_EQ(_log.take(), (Lines{range, "E conv_to_upper_case" + encode}));
    EXPECT_EQ(_dst, "A");
    utf8::conv_to_lower_case(_dst, "A\xF4\xBF\xBF\xBFZ", 100);
    EXPECT_EQ(_log.take(), (Lines{range, "E conv_to_lower_case" + encode}));
    EXPECT_EQ(_dst, "a");
}

TEST_F(Utf8LogTest, OtherFailuresAreSilent) {
    EXPECT_EQ(decode("\xC0"), Lines{}) << "a refused lead byte";
    EXPECT_EQ(decode("\x80"), Lines{});
    EXPECT_EQ(decode("\xF5\x80\x80\x80"), Lines{});
    EXPECT_EQ(Codec8::check_string_valid("ab\xFF"), -3496);
    EXPECT_EQ(utf8::strstr_ci("abc", "d", _pos), -3498);
    EXPECT_EQ(utf8::strstr_ci("ab\xFF", "d", _pos), -3496);
    char dst[8] = "";
    EXPECT_EQ(utf8::strncpy_0(dst, "a\xC3", 8), 1);
    EXPECT_EQ(utf8::strncat_0(dst, "b\xFF", 8), 1);
    EXPECT_EQ(utf8::truncate_0(dst, 2), 1);
    EXPECT_EQ(utf8::ConvNum::conv_int64_to_str(dst, 100, 2, 10), -3499);
    EXPECT_EQ(utf8::ConvNum::conv_str_to_int64("99999999999999999999", 10), LLONG_MAX);
    EXPECT_EQ(ulk::txt::unicode::CharData::to_upper(0x110000), 0x110000);
    EXPECT_EQ(_log.take(), Lines{});
}

} // namespace
