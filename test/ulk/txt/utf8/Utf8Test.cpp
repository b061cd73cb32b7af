#include "ulk/txt/utf8/utf8.h"

#include "ulk/txt/unicode/CharData.h"
#include "ulk/txt/utf8/Codec8.h"

namespace {

namespace utf8 = ulk::txt::utf8;
using ulk::txt::unicode::Char;
using ulk::txt::unicode::CharData;
using utf8::Codec8;

TEST(Utf8Test, CopyKeepsWholeSequences) {
    char dst[16] = "before";
    EXPECT_EQ(utf8::strncpy_0(dst, "\xC3\xA9", 2), 1);
    EXPECT_STREQ(dst, "");
    EXPECT_EQ(utf8::strncpy_0(dst, "\xC3\xA9", 3), 1);
    EXPECT_STREQ(dst, "\xC3\xA9");
    EXPECT_EQ(utf8::strncpy_0(dst, "ab\xE2\x82\xAC", 5), 1);
    EXPECT_STREQ(dst, "ab");
    EXPECT_EQ(utf8::strncpy_0(dst, "ab\xE2\x82\xAC", 6), 1);
    EXPECT_STREQ(dst, "ab\xE2\x82\xAC");
    EXPECT_EQ(utf8::strncpy_0(dst, "", 6), 1);
    EXPECT_STREQ(dst, "");
    EXPECT_EQ(utf8::strncpy_0(dst, "abc", ~0UL), 1);
    EXPECT_STREQ(dst, "abc");
}

TEST(Utf8Test, CopyStopsAtWhatItCannotTake) {
    char dst[16] = "before";
    EXPECT_EQ(utf8::strncpy_0(dst, "new", 0), 1);
    EXPECT_STREQ(dst, "before");
    EXPECT_EQ(utf8::strncpy_0(dst, "ab\x80z", 16), 1);
    EXPECT_STREQ(dst, "ab");
    EXPECT_EQ(utf8::strncpy_0(dst, "ab\xE2\x82", 16), 1); // cut by the terminator
    EXPECT_STREQ(dst, "ab");
    EXPECT_EQ(utf8::strncpy_0(dst, "ab\xC3z", 16), 1); // follow bytes are not looked at
    EXPECT_STREQ(dst, "ab\xC3z");
}

TEST(Utf8Test, CopyWritesNothingBehindMaxSize) {
    for (unsigned long max_size = 1; max_size < 12; ++max_size) {
        char dst[16];
        std::memset(dst, '#', sizeof(dst));
        utf8::strncpy_0(dst,
                        "\xF0\x9F\x98\x80\xC3\xA9"
                        "abcdefg",
                        max_size);
        ASSERT_LT(std::strlen(dst), max_size);
        ASSERT_EQ(dst[max_size], '#');
    }
}

TEST(Utf8Test, ConcatenationAppends) {
    char dst[16] = "ab";
    EXPECT_EQ(utf8::strncat_0(dst, "\xC3\xA9x", 5), 1);
    EXPECT_STREQ(dst, "ab\xC3\xA9");
    EXPECT_EQ(utf8::strncat_0(dst, "yz", 6), 1);
    EXPECT_STREQ(dst, "ab\xC3\xA9y");
    EXPECT_EQ(utf8::strncat_0(dst, "z", 6), 1);
    EXPECT_STREQ(dst, "ab\xC3\xA9y");
    EXPECT_EQ(utf8::strncat_0(dst, "z", 0), 1);
    EXPECT_STREQ(dst, "ab\xC3\xA9y");
    EXPECT_EQ(utf8::strncat_0(dst, "z", 3), 1); // dst is longer than that already
    EXPECT_STREQ(dst, "ab\xC3\xA9y");
}

TEST(Utf8Test, TruncationCutsAtBoundaries) {
    struct {
        char const* text;
        unsigned long max_size;
        int ret_val;
        char const* result;
    } const rows[] = {
        {"abc", 4, 0, "abc"},
        {"abc", 3, 1, "ab"},
        {"abc", 1, 1, ""},
        {"abc", 0, 0, "abc"},
        {"", 1, 0, ""},
        {"a\xC3\xA9", 4, 0, "a\xC3\xA9"},
        {"a\xC3\xA9", 3, 1, "a"},
        {"a\xC3\xA9z", 4, 1, "a\xC3\xA9"},
        {"\xF0\x9F\x98\x80", 4, 1, ""},
        {"\xF0\x9F\x98\x80", 5, 0, "\xF0\x9F\x98\x80"},
        {"\xE2\x82\xAC\xE2\x82\xAC", 6, 1, "\xE2\x82\xAC"},
        {"\x80\x80\x80\x80\x80\x80", 5, 1, "\x80\x80\x80\x80"},
        {"a\x80\x80\x80", 3, 1, "a\x80"},
    };
    for (auto const& row : rows) {
        char text[16];
        std::strcpy(text, row.text);
        EXPECT_EQ(utf8::truncate_0(text, row.max_size), row.ret_val) << row.text;
        EXPECT_STREQ(text, row.result);
        std::string str = row.text;
        EXPECT_EQ(utf8::truncate(str, row.max_size), row.ret_val) << row.text;
        EXPECT_EQ(str, row.result);
    }
}

TEST(Utf8Test, TruncationAndCopyAgreeOnValidText) {
    std::mt19937 rnd(5);
    for (int i = 0; i < 5000; ++i) {
        std::string text;
        while (rnd() % 8 != 0) {
            std::string seq;
            Codec8::encode_char(seq, static_cast<Char>(1 + rnd() % (rnd() % 2 ? 0x900 : 0x10FFFF)));
            text += seq;
        }
        unsigned long const max_size = 1 + rnd() % 20;
        std::vector<char> dst(max_size);
        utf8::strncpy_0(dst.data(), text.c_str(), max_size);
        std::string cut = text;
        ASSERT_EQ(utf8::truncate(cut, max_size), text.size() + 1 > max_size ? 1 : 0);
        ASSERT_EQ(cut, dst.data());
        ASSERT_EQ(Codec8::check_string_valid(cut), 0);
    }
}

TEST(Utf8Test, WideTextsRoundTrip) {
    std::wstring wide;
    for (Char c = 1; c < 0x110000; ++c) {
        wide += static_cast<wchar_t>(c);
    }
    std::string text = "before";
    ASSERT_EQ(utf8::encode_wstring(text, wide), 0);
    ASSERT_EQ(Codec8::check_string_valid(text), 0);
    std::wstring back = L"before";
    ASSERT_EQ(utf8::decode_wstring(back, text), 0);
    EXPECT_TRUE(back == wide);
    ASSERT_EQ(utf8::decode_wstring(back, text.c_str()), 0);
    EXPECT_TRUE(back == wide);
}

TEST(Utf8Test, WideTextsStopAtTheFirstFailure) {
    std::string text = "before";
    std::wstring wide = L"ab";
    wide += static_cast<wchar_t>(0x110000);
    wide += L'c';
    EXPECT_EQ(utf8::encode_wstring(text, wide), -3497);
    EXPECT_EQ(text, "ab");
    wide[2] = static_cast<wchar_t>(-5);
    EXPECT_EQ(utf8::encode_wstring(text, wide.c_str()), -3497);
    EXPECT_EQ(text, "ab");
    EXPECT_EQ(utf8::encode_wstring(text, std::wstring(L"x\0y", 3)), 0);
    EXPECT_EQ(text, "x");
    EXPECT_EQ(utf8::decode_wstring(wide, "ab\x80"), -3496);
    EXPECT_EQ(wide, L"ab");
    EXPECT_EQ(utf8::decode_wstring(wide, "ab\xC3z"), -3493);
    EXPECT_EQ(wide, L"ab");
    EXPECT_EQ(utf8::decode_wstring(wide, ""), 0);
    EXPECT_EQ(wide, L"");
}

TEST(Utf8Test, SearchIgnoresCase) {
    long pos = 77;
    EXPECT_EQ(utf8::strstr_ci("Hello", "LL", pos), 0);
    EXPECT_EQ(pos, 2);
    EXPECT_EQ(utf8::strstr_ci("\xC3\xA9\xC3\x89t\xC3\xA9", "\xC3\x89T", pos), 0);
    EXPECT_EQ(pos, 2);
    EXPECT_EQ(utf8::strstr_ci("go\xC5\xBFt", "ST", pos), 0); // long s has the upper case S
    EXPECT_EQ(pos, 2);
    EXPECT_EQ(utf8::strstr_ci("s", "\xC5\xBF", pos), 0);
    EXPECT_EQ(pos, 0);
    EXPECT_EQ(utf8::strstr_ci("k", "\xE2\x84\xAA", pos), -3498); // but the Kelvin sign is its own
    EXPECT_EQ(pos, -1);
}

TEST(Utf8Test, SearchEdges) {
    long pos = 77;
    EXPECT_EQ(utf8::strstr_ci("abc", "", pos), 0);
    EXPECT_EQ(pos, 77);
    EXPECT_EQ(utf8::strstr_ci("", "", pos), 0);
    EXPECT_EQ(pos, 77);
    EXPECT_EQ(utf8::strstr_ci("", "a", pos), -3498);
    EXPECT_EQ(pos, -1);
    EXPECT_EQ(utf8::strstr_ci("ab", "abc", pos), -3498);
    EXPECT_EQ(pos, -1);
    EXPECT_EQ(utf8::strstr_ci("abc", "abc", pos), 0);
    EXPECT_EQ(pos, 0);
    EXPECT_EQ(utf8::strstr_ci("aab", "ab", pos), 0);
    EXPECT_EQ(pos, 1);
}

TEST(Utf8Test, SearchReportsFaults) {
    long pos = 77;
    EXPECT_EQ(utf8::strstr_ci("ab\x80", "z", pos), -3496);
    EXPECT_EQ(pos, -1);
    EXPECT_EQ(utf8::strstr_ci("ab\xC3z", "z", pos), -3493);
    EXPECT_EQ(pos, -1);
    EXPECT_EQ(utf8::strstr_ci("zb\x80", "z", pos), 0); // found before the fault
    EXPECT_EQ(pos, 0);
    EXPECT_EQ(utf8::strstr_ci("ab", "\xFF", pos), -3496);
    EXPECT_EQ(pos, -1);
    EXPECT_EQ(utf8::strstr_ci("ab", "a\xC3", pos), -3493);
    EXPECT_EQ(utf8::strstr_ci("bb", "a\xC3", pos), -3498); // the fault is never reached
    EXPECT_EQ(utf8::strstr_ci("", "\xFF", pos), -3498);
}

// The search as it is described, one start after the other.
int model_search(std::string const& text, std::string const& sub, long& pos) {
    if (sub.empty()) {
        return 0;
    }
    pos = -1;
    for (std::size_t start = 0; start < text.size();) {
        std::size_t t = start;
        std::size_t s = 0;
        int start_len = 0;
        for (;;) {
            if (s == sub.size()) {
                pos = static_cast<long>(start);
                return 0;
            }
            if (t == text.size()) {
                return -3498;
            }
            Char ct;
            Char cs;
            int lt;
            int ls;
            int ret_val = Codec8::decode_char(ct, text.c_str() + t, lt);
            ret_val = ret_val != 0 ? ret_val : Codec8::decode_char(cs, sub.c_str() + s, ls);
            if (ret_val != 0) {
                return ret_val;
            }
            start_len = t == start ? lt : start_len;
            if (CharData::to_upper(ct) != CharData::to_upper(cs)) {
                break;
            }
            t += static_cast<std::size_t>(lt);
            s += static_cast<std::size_t>(ls);
        }
        start += static_cast<std::size_t>(start_len);
    }
    return -3498;
}

std::string make_text(std::mt19937& rnd, std::size_t nbr, bool faulty) {
    static char const* const pieces[] = {"a",
                                         "A",
                                         "b",
                                         "S",
                                         "s",
                                         "\xC5\xBF",
                                         "\xC3\xA9",
                                         "\xC3\x89",
                                         "\xE2\x82\xAC",
                                         "\xF0\x90\x90\x80",
                                         "\xF0\x90\x90\xA8",
                                         "1",
                                         "\xE0\x81\x81", // overlong forms of A, s and b
                                         "\xF0\x80\x81\xB3",
                                         "\xE0\x81\xA2",
                                         "\x80",
                                         "\xC3",
                                         "\xFF"};
    std::size_t const kinds = faulty && rnd() % 4 == 0 ? 18 : 15;
    std::string text;
    for (std::size_t i = 0; i < nbr; ++i) {
        text += rnd() % 4 == 0 ? pieces[rnd() % kinds] : pieces[rnd() % 5];
    }
    return text;
}

TEST(Utf8Test, SearchesAsTheModel) {
    std::mt19937 rnd(6);
    int found = 0;
    for (int i = 0; i < 40000; ++i) {
        std::string text = make_text(rnd, rnd() % (i % 10 == 0 ? 6000 : 100), true);
        std::string const sub = make_text(rnd, rnd() % 12, rnd() % 8 == 0);
        long pos = 77;
        long model_pos = 77;
        int const ret_val = model_search(text, sub, model_pos);
        ASSERT_EQ(utf8::strstr_ci(text.c_str(), sub.c_str(), pos), ret_val) << text << "\n" << sub;
        ASSERT_EQ(pos, model_pos);
        found += ret_val == 0;
    }
    EXPECT_GT(found, 1000);
}

TEST(Utf8Test, SearchSeesEveryPlace) {
    for (std::size_t before = 0; before < 200; ++before) {
        for (char const* const sub : {"Q", "qx", "q\xC3\xA9", "\xC3\xA9z"}) {
            std::string const text = std::string(before, '.') + sub;
            for (std::size_t const behind : {0u, 1u, 40u}) {
                long pos = 77;
                ASSERT_EQ(utf8::strstr_ci((text + std::string(behind, '-')).c_str(), sub, pos), 0);
                ASSERT_EQ(pos, static_cast<long>(before));
            }
        }
    }
}

// Every character with two cases, both ways round, at the end of a text that is searched in blocks.
TEST(Utf8Test, SearchFindsEveryCase) {
    int nbr_pairs = 0;
    for (Char c = 1; c < 0x110000; ++c) {
        long const upper = CharData::to_upper(c);
        if (upper == c) {
            continue;
        }
        std::string seq;
        std::string upper_seq;
        Codec8::encode_char(seq, c);
        Codec8::encode_char(upper_seq, static_cast<Char>(upper));
        for (char const* const filler : {".", "\xC3\xB7"}) {
            std::string text;
            while (text.size() < 100) {
                text += filler;
            }
            long const len = static_cast<long>(text.size());
            for (std::string const& tail : {std::string(), seq + upper_seq, std::string("1")}) {
                long pos = 77;
                std::string const lower_text = text + seq + upper_seq + tail + std::string(80, '!');
                ASSERT_EQ(
                    utf8::strstr_ci(lower_text.c_str(), (upper_seq + seq + tail).c_str(), pos), 0);
                ASSERT_EQ(pos, len) << std::hex << c;
                pos = 77;
                ASSERT_EQ(
                    utf8::strstr_ci((text + upper_seq + tail).c_str(), (seq + tail).c_str(), pos),
                    0);
                ASSERT_EQ(pos, len) << std::hex << c;
            }
        }
        ++nbr_pairs;
    }
    EXPECT_EQ(nbr_pairs, 1450);
}

// Characters of ASCII in forms that are longer than needed, the terminator among them, as the first
// and as the second one of what is sought.
TEST(Utf8Test, SearchFindsOverlongForms) {
    for (char const* const filler : {".", "\xC3\xB7", "\xE0\xA4\x85", "\xF0\x9F\x98\x80"}) {
        for (std::size_t before = 0; before < 150; ++before) {
            std::string prefix;
            while (prefix.size() < before) {
                prefix += filler;
            }
            for (char const* const form : {"\xE0\x81\xB1", "\xE0\x81\x91", "\xF0\x80\x81\xB1"}) {
                std::string const text = prefix + form + "x" + form + std::string(100, '-');
                for (char const* const sub : {"q", "Qx", "xq", "qxQ", form}) {
                    long pos = 77;
                    ASSERT_EQ(utf8::strstr_ci(text.c_str(), sub, pos), 0);
                    std::size_t const place = prefix.size() + (*sub == 'x' ? std::strlen(form) : 0);
                    ASSERT_EQ(pos, static_cast<long>(place)) << before << " " << sub;
                }
            }
            std::string const text = prefix + "\xE0\x80\x80" + std::string(100, '-');
            long pos = 77;
            ASSERT_EQ(utf8::strstr_ci(text.c_str(), "\xF0\x80\x80\x80", pos), 0);
            ASSERT_EQ(pos, static_cast<long>(prefix.size()));
        }
    }
}

// A fault before, in and behind every block is met, wherever the text that is sought begins.
TEST(Utf8Test, SearchMeetsAFaultAnywhere) {
    for (char const* const filler : {"a", "\xC3\xA9", "\xE2\x82\xAC"}) {
        for (std::size_t before = 0; before < 150; ++before) {
            std::string prefix;
            while (prefix.size() < before) {
                prefix += filler;
            }
            for (char const* const fault : {"\x80", "\xC1", "\xF5", "\xC3", "\xF0\x9F\x98"}) {
                std::string const text = prefix + fault + std::string(100, 'q') + "x";
                for (char const* const sub : {"qx", "x", "\xC3\x9Fq", "S"}) {
                    long pos = 77;
                    long model_pos = 77;
                    int const ret_val = model_search(text, sub, model_pos);
                    ASSERT_EQ(utf8::strstr_ci(text.c_str(), sub, pos), ret_val);
                    ASSERT_TRUE(ret_val == -3493 || ret_val == -3496);
                    ASSERT_EQ(pos, model_pos);
                }
            }
        }
    }
}

TEST(Utf8Test, CaseConversion) {
    std::string dst = "before";
    EXPECT_EQ(utf8::conv_to_upper_case(dst, "h\xC3\xA9llo \xC3\xBF\xC3\x9F", 100), 0);
    EXPECT_EQ(dst, "H\xC3\x89LLO \xC5\xB8\xC3\x9F"); // by single characters: the sharp s stays
    EXPECT_EQ(utf8::conv_to_lower_case(dst, "H\xC3\x89LLO \xE2\x84\xAA", 100), 0);
    EXPECT_EQ(dst, "h\xC3\xA9llo k"); // three bytes become one
    EXPECT_EQ(utf8::conv_to_upper_case(dst, "", 100), 0);
    EXPECT_EQ(dst, "");
    EXPECT_EQ(utf8::conv_to_upper_case(dst, "abc", 0), 0);
    EXPECT_EQ(dst, "");
    EXPECT_EQ(utf8::conv_to_upper_case(dst, "abc", 2), 0);
    EXPECT_EQ(dst, "AB");
    EXPECT_EQ(utf8::conv_to_upper_case(dst, "a\xC3\xA9z", 2), 0);
    EXPECT_EQ(dst, "A\xC3\x89"); // it starts before the limit
    EXPECT_EQ(utf8::conv_to_upper_case(dst, "abc", static_cast<std::size_t>(-1)), 0);
    EXPECT_EQ(dst, "ABC");
}

TEST(Utf8Test, CaseConversionStopsAtAFailure) {
    std::string dst = "before";
    EXPECT_EQ(utf8::conv_to_upper_case(dst, "ab\x80z", 100), -3496);
    EXPECT_EQ(dst, "AB");
    EXPECT_EQ(utf8::conv_to_lower_case(dst, "AB\xE2z", 100), -3493);
    EXPECT_EQ(dst, "ab");
    EXPECT_EQ(utf8::conv_to_lower_case(dst, "AB\xF4\xBF\xBF\xBFZ", 100), -3497);
    EXPECT_EQ(dst, "ab");
}

TEST(Utf8Test, CaseConversionAsTheModel) {
    std::mt19937 rnd(7);
    for (int i = 0; i < 5000; ++i) {
        std::string const text = make_text(rnd, rnd() % (i % 50 == 0 ? 6000 : 120), false);
        std::size_t const max_len = rnd() % 2 == 0 ? text.size() : rnd() % (text.size() + 1);
        std::string upper;
        std::string lower;
        for (std::size_t pos = 0; pos < max_len;) {
            Char c;
            int len;
            ASSERT_EQ(Codec8::decode_char(c, text.c_str() + pos, len), 0);
            std::string seq;
            Codec8::encode_char(seq, static_cast<Char>(CharData::to_upper(c)));
            upper += seq;
            Codec8::encode_char(seq, static_cast<Char>(CharData::to_lower(c)));
            lower += seq;
            pos += static_cast<std::size_t>(len);
        }
        std::string dst;
        ASSERT_EQ(utf8::conv_to_upper_case(dst, text.c_str(), max_len), 0);
        ASSERT_EQ(dst, upper);
        ASSERT_EQ(utf8::conv_to_lower_case(dst, text.c_str(), max_len), 0);
        ASSERT_EQ(dst, lower);
    }
}

} // namespace
