#include "ulk/txt/utf8/utf8.h"

#include "ulk/txt/unicode/CharData.h"
#include "ulk/txt/utf8/Codec8.h"
#include "ulk/txt/utf8/block_check.h"
#include "ulk/txt/utf8/bounded_len.h"

#include <algorithm>
#include <cstring>

namespace ulk::txt::utf8 {

namespace {

using unicode::CharData;

constexpr int differs = 1;

// 0 if sub stands at the start of text, differs if another character stops the comparison,
// Err_NOT_FOUND if text ends first, or the code of a faulty sequence in either. text_len becomes
// the length of the first sequence of text.
int compare_start(char const* text, char const* sub, int& text_len) {
    char const* t = text;
    while (*sub != '\0') {
        if (*t == '\0') {
            return Err_NOT_FOUND;
        }
        unicode::Char t_char;
        unicode::Char s_char;
        int t_len;
        int s_len;
        int ret_val = Codec8::decode_char(t_char, t, t_len);
        if (t == text) {
            text_len = t_len;
        }
        if (ret_val == 0) {
            ret_val = Codec8::decode_char(s_char, sub, s_len);
        }
        if (ret_val != 0) {
            return ret_val;
        }
        if (t_char != s_char && CharData::to_upper(t_char) != CharData::to_upper(s_char)) {
            return differs;
        }
        t += t_len;
        sub += s_len;
    }
    return 0;
}

// A character of ASCII in both cases: those bytes b with (b | mask) == val.
struct BytePattern {
    unsigned char mask;
    unsigned char val;

    explicit BytePattern(unsigned char c) {
        bool const letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        mask = letter ? 0x20 : 0;
        val = static_cast<unsigned char>(c | mask);
    }
};

// Passes over the places where sub cannot stand. Works if the first character of sub is compared
// as one of ASCII. Then an occurrence begins with a byte of ASCII that fits, before one that fits
// too or is none of ASCII; or, for I and S, with the dotless i or the long s.
class Skipper {
public:
    // The first character of sub is whole.
    explicit Skipper(char const* sub)
        : _second(static_cast<unsigned char>(sub[1]))
        , _single_flag(sub[1] == '\0' || !Codec8::is_char_single_byte(sub[1])) {
        unicode::Char c;
        Codec8::decode_char(c, sub);
        long const first = CharData::to_upper(c);
        _usable_flag = first < 128;
        _first = BytePattern(static_cast<unsigned char>(first));
        _other_lead = first == 'I' ? 0xC4 : first == 'S' ? 0xC5 : 0xFF;
    }

    // From the start of a character to the next place that needs the comparison: one where sub may
    // stand, a block with a fault, or the last bytes before end.
    char const* skip(char const* text, char const* end) const {
        while (_usable_flag && end - text >= checked_len) {
            unsigned char mark_arr[block_len];
            unsigned long long const found = mark(mark_arr, text);
            bool const ascii_flag = (found & 0x8080808080808080ULL) == 0;
            if (!ascii_flag && !is_well_formed(text)) {
                break;
            }
            if ((found & 0x0101010101010101ULL) != 0) {
                auto const is_hit = [](unsigned char m) { return (m & 1) != 0; };
                return text + (std::find_if(mark_arr, mark_arr + block_len, is_hit) - mark_arr);
            }
            text += block_len;
            text -= ascii_flag ? 0 : count_open(text);
        }
        return text;
    }

private:
    // The high bit of a mark is set where a byte is none of ASCII, the low one where sub may stand.
    // Gives the bits of all marks, in any of the bytes.
    unsigned long long mark(unsigned char* mark_arr, char const* text) const {
        unsigned char const any = _single_flag ? 1 : 0;
        for (int i = 0; i < block_len; ++i) {
            unsigned char const b = static_cast<unsigned char>(text[i]);
            unsigned char const next = static_cast<unsigned char>(text[i + 1]);
            unsigned char const first = (b | _first.mask) == _first.val;
            unsigned char const second = ((next | _second.mask) == _second.val) | (next >= 128);
            unsigned char const other = b == _other_lead;
            mark_arr[i] = static_cast<unsigned char>((first & (second | any)) | other | (b & 0x80));
        }
        unsigned long long word_arr[block_len / 8];
        std::memcpy(word_arr, mark_arr, block_len);
        unsigned long long all = 0;
        for (unsigned long long const word : word_arr) {
            all |= word;
        }
        return all;
    }

    BytePattern _first{0};
    BytePattern _second;
    unsigned char _other_lead; // of the sequence that is compared as _first; 0xFF: there is none
    bool _single_flag;
    bool _usable_flag;
};

} // namespace

int strstr_ci(char const* text, char const* sub, long& pos) {
    if (*sub == '\0') {
        return 0;
    }
    char const* cur = text;
    int len = 0;
    int ret_val = compare_start(cur, sub, len);
    if (ret_val == differs) {
        Skipper const skipper(sub);
        char const* end = text;
        do {
            cur += len;
            if (cur >= end) {
                end = cur + bounded_len(cur, chunk_len);
            }
            cur = skipper.skip(cur, end);
            ret_val = compare_start(cur, sub, len);
        } while (ret_val == differs);
    }
    pos = ret_val == 0 ? cur - text : -1;
    return ret_val;
}

} // namespace ulk::txt::utf8
