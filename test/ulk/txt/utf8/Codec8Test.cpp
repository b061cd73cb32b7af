#include "ulk/txt/utf8/Codec8.h"

namespace {

using ulk::txt::unicode::Char;
using ulk::txt::utf8::Codec8;

// The rules byte by byte, without the codec's code.
int model_decode(Char& c, int& len, std::string const& bytes, std::size_t pos) {
    auto const at = [&](std::size_t i) { return i < bytes.size() ? bytes[i] & 0xFF : 0; };
    int const lead = at(pos);
    c = 0;
    len = 1;
    if (lead < 128) {
        c = lead;
        return 0;
    }
    if (lead <= 193 || lead > 244) {
        return -3496;
    }
    len = lead <= 223 ? 2 : lead <= 239 ? 3 : 4;
    c = len == 2 ? lead - 192 : len == 3 ? lead - 224 : lead - 240;
    for (int i = 1; i < len; ++i) {
        int const follow = at(pos + static_cast<std::size_t>(i));
        if (follow < 128 || follow > 191) {
            return -3493;
        }
        c = c * 64 + follow - 128;
    }
    return 0;
}

int model_check(std::string const& text) {
    for (std::size_t pos = 0; pos < text.size() && text[pos] != '\0';) {
        Char c;
        int len;
        int const ret_val = model_decode(c, len, text, pos);
        if (ret_val != 0) {
            return ret_val;
        }
        pos += static_cast<std::size_t>(len);
    }
    return 0;
}

TEST(Codec8Test, ClassifiesBytes) {
    for (int b = 0; b < 256; ++b) {
        char const c = static_cast<char>(b);
        EXPECT_EQ(Codec8::is_valid_utf8_byte(c), b != 192 && b != 193 && b < 245) << b;
        EXPECT_EQ(Codec8::is_valid_utf8_lead_byte(c), b < 128 || (b >= 194 && b <= 244)) << b;
        EXPECT_EQ(Codec8::is_valid_utf8_follow_byte(c), b >= 128 && b < 192) << b;
        EXPECT_EQ(Codec8::is_char_single_byte(c), b < 128) << b;
        int len = 99;
        int const ret_val = Codec8::get_char_seq_len_utf(len, c);
        bool const refused = (b >= 128 && b <= 193) || b > 244;
        EXPECT_EQ(ret_val, refused ? -3496 : 0) << b;
        EXPECT_EQ(len, refused || b < 128 ? 1 : b < 224 ? 2 : b < 240 ? 3 : 4) << b;
    }
}

TEST(Codec8Test, LengthOfCodePoints) {
    struct {
        Char c;
        int ret_val;
        int len;
    } const rows[] = {{0, 0, 1},
                      {0x7F, 0, 1},
                      {0x80, 0, 2},
                      {0x7FF, 0, 2},
                      {0x800, 0, 3},
                      {0xD800, 0, 3},
                      {0xDFFF, 0, 3},
                      {0xFFFF, 0, 3},
                      {0x10000, 0, 4},
                      {0x10FFFF, 0, 4},
                      {0x110000, -3497, 0},
                      {0x7FFFFFFF, -3497, 0},
                      {-1, -3497, 0},
                      {-0x7FFFFFFF - 1, -3497, 0}};
    for (auto const& row : rows) {
        int len = 99;
        EXPECT_EQ(Codec8::get_char_seq_len_ucs(len, row.c), row.ret_val) << row.c;
        EXPECT_EQ(len, row.len) << row.c;
    }
}

TEST(Codec8Test, DecodesWhatItEncodes) {
    for (Char c = 0; c < 0x110000; ++c) {
        char seq[6] = "#####";
        int len;
        ASSERT_EQ(Codec8::encode_char(seq, c, len), 0);
        ASSERT_EQ(seq[len], '#') << "no terminator";
        Char back;
        int back_len;
        ASSERT_EQ(Codec8::decode_char(back, seq, back_len), 0);
        ASSERT_EQ(back, c);
        ASSERT_EQ(back_len, len);
        ASSERT_EQ(Codec8::check_char_valid(seq), 0);
    }
}

TEST(Codec8Test, EncodesInThreeForms) {
    char seq[5];
    int len;
    ASSERT_EQ(Codec8::encode_char(seq, 0x20AC, len), 0);
    EXPECT_EQ(len, 3);
    EXPECT_EQ(std::memcmp(seq, "\xE2\x82\xAC", 3), 0);
    ASSERT_EQ(Codec8::encode_char(seq, 0x1F600), 0);
    EXPECT_STREQ(seq, "\xF0\x9F\x98\x80");
    std::string text = "before";
    ASSERT_EQ(Codec8::encode_char(text, 0xE9), 0);
    EXPECT_EQ(text, "\xC3\xA9");
    ASSERT_EQ(Codec8::encode_char(text, 0), 0);
    EXPECT_EQ(text, std::string(1, '\0'));
}

TEST(Codec8Test, RefusesToEncodeOutOfRange) {
    for (Char const c : {-1, 0x110000, 0x13FFFF}) {
        char seq[5] = "abcd";
        int len = 99;
        EXPECT_EQ(Codec8::encode_char(seq, c, len), -3497);
        EXPECT_EQ(len, 0);
        EXPECT_STREQ(seq, "abcd");
        EXPECT_EQ(Codec8::encode_char(seq, c), -3497);
        EXPECT_STREQ(seq, "");
        EXPECT_EQ(seq[1], 'b');
        std::string text = "before";
        EXPECT_EQ(Codec8::encode_char(text, c), -3497);
        EXPECT_EQ(text, "");
    }
}

TEST(Codec8Test, DecodingFailures) {
    struct {
        char const* src;
        int ret_val;
        int len;
    } const rows[] = {
        {"\xC0", -3496, 1},         {"\xC1\x80", -3496, 1},     {"\x80", -3496, 1},
        {"\xBF", -3496, 1},         {"\xF5\x80\x80", -3496, 1}, {"\xFF", -3496, 1},
        {"\xE2(\xA1", -3493, 3},    {"\xC3", -3493, 2},         {"\xE2\x82", -3493, 3},
        {"\xF0\x9F\x98", -3493, 4}, {"\xC3\xC3", -3493, 2}};
    for (auto const& row : rows) {
        Char c;
        int len = 99;
        EXPECT_EQ(Codec8::decode_char(c, row.src, len), row.ret_val) << row.src;
        EXPECT_EQ(len, row.len) << row.src;
        EXPECT_EQ(Codec8::decode_char(c, row.src), row.ret_val) << row.src;
        EXPECT_EQ(Codec8::check_char_valid(row.src), row.ret_val) << row.src;
        EXPECT_EQ(Codec8::check_string_valid(row.src), row.ret_val) << row.src;
    }
}

TEST(Codec8Test, DecodesLeniently) {
    struct {
        char const* src;
        Char c;
    } const rows[] = {{"\xED\xA0\x80", 0xD800},       {"\xE0\x80\x80", 0},
                      {"\xE0\x81\x81", 'A'},          {"\xF0\x80\x80\x80", 0},
                      {"\xF4\xBF\xBF\xBF", 0x13FFFF}, {"", 0}};
    for (auto const& row : rows) {
        Char c = -1;
        EXPECT_EQ(Codec8::decode_char(c, row.src), 0) << row.c;
        EXPECT_EQ(c, row.c);
    }
}

TEST(Codec8Test, DecodesAsTheModel) {
    std::mt19937 rnd(3);
    for (int i = 0; i < 200000; ++i) {
        std::string src;
        while (src.size() < 5) {
            src += static_cast<char>(rnd() % 2 == 0 ? rnd() : (rnd() & 63) | 128);
        }
        Char c;
        Char model_c;
        int len;
        int model_len;
        int const ret_val = model_decode(model_c, model_len, src, 0);
        ASSERT_EQ(Codec8::decode_char(c, src.c_str(), len), ret_val);
        ASSERT_EQ(len, model_len);
        if (ret_val == 0) {
            ASSERT_EQ(c, model_c);
        }
    }
}

// A text of whole sequences, with runs of ASCII.
std::string make_text(std::mt19937& rnd, std::size_t len) {
    std::string text;
    while (text.size() < len) {
        if (rnd() % 8 == 0) {
            text.append(rnd() % 150, 'x');
        }
        static constexpr unsigned limits[] = {0x7F, 0x7FF, 0xFFFF, 0x10FFFF};
        std::string seq;
        Codec8::encode_char(seq, static_cast<Char>(1 + rnd() % limits[rnd() % 4]));
        text += seq;
    }
    return text;
}

TEST(Codec8Test, ChecksWholeTextsAsTheModel) {
    std::mt19937 rnd(4);
    for (int i = 0; i < 3000; ++i) {
        std::string text = make_text(rnd, rnd() % (i % 50 == 0 ? 10000 : 300));
        ASSERT_EQ(Codec8::check_string_valid(text), 0);
        ASSERT_EQ(Codec8::check_string_valid(text.c_str()), 0);
        for (int k = 0; k < 3 && !text.empty(); ++k) {
            std::string bad = text;
            bad[rnd() % bad.size()] = static_cast<char>(rnd());
            ASSERT_EQ(Codec8::check_string_valid(bad), model_check(bad));
            bad.resize(rnd() % bad.size());
            ASSERT_EQ(Codec8::check_string_valid(bad.c_str()), model_check(bad));
        }
    }
}

// Every fault at every place round the ends of the blocks that are checked at once.
TEST(Codec8Test, FindsAFaultAnywhere) {
    char const* const faults[] = {"\x80",        "\xC0",         "\xC1",
                                  "\xF5",        "\xFF",         "\xC3",
                                  "\xE2\x82",    "\xF0\x9F\x98", "\xE2\x82\xAC\x80",
                                  "\xC3\xA9\xA9"};
    for (char const* const filler : {"a", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
        for (std::size_t before = 0; before < 150; ++before) {
            std::string prefix;
            while (prefix.size() < before) {
                prefix += filler;
            }
            for (char const* const fault : faults) {
                for (std::size_t const behind : {0u, 1u, 100u}) {
                    std::string const text = prefix + fault + std::string(behind, 'z');
                    ASSERT_EQ(Codec8::check_string_valid(text), model_check(text));
                    ASSERT_NE(Codec8::check_string_valid(text), 0);
                }
            }
        }
    }
}

TEST(Codec8Test, ChecksUpToTheTerminator) {
    EXPECT_EQ(Codec8::check_string_valid(""), 0);
    EXPECT_EQ(Codec8::check_string_valid(std::string("abc\0\xFF", 5)), 0);
    for (std::size_t const len : {4095u, 4096u, 4097u, 8192u}) {
        EXPECT_EQ(Codec8::check_string_valid(std::string(len, 'a')), 0);
        EXPECT_EQ(Codec8::check_string_valid(std::string(len, 'a') + "\xC3"), -3493);
        EXPECT_EQ(Codec8::check_string_valid(std::string(len, 'a') + "\xC3\xA9"), 0);
    }
}

} // namespace
