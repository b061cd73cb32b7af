#include "ulk/txt/utf8/utf8.h"

#include "ulk/txt/unicode/CharData.h"
#include "ulk/txt/utf8/ByteVec.h"
#include "ulk/txt/utf8/Codec8.h"
#include "ulk/txt/utf8/block_check.h"
#include "ulk/txt/utf8/bounded_len.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace ulk::txt::utf8 {

namespace {

using unicode::CharData;

constexpr int differs = 1;

// The first two bytes of the sequences of three and four bytes that need their length
constexpr signed char lead_3 = static_cast<signed char>(0xE0);
constexpr signed char least_3 = static_cast<signed char>(0xA0);
constexpr signed char lead_4 = static_cast<signed char>(0xF0);
constexpr signed char least_4 = static_cast<signed char>(0x90);

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

// Bytes with which a character starts that is compared as a given one of ASCII: the character in
// both cases and, for I and S, the lead byte of the dotless i or the long s.
struct StartPattern {
    signed char mask;
    signed char val;
    signed char lead;

    // c is its own upper case
    explicit StartPattern(char c)
        : mask(c >= 'A' && c <= 'Z' ? 0x20 : 0)
        , val(static_cast<signed char>(c | mask))
        , lead(static_cast<signed char>(c == 'I'   ? 0xC4
                                        : c == 'S' ? 0xC5
                                                   : 0xFF)) {}

    ByteVec find_single(ByteVec b) const { return (b | mask) == val; }
    ByteVec find_lead(ByteVec b) const { return b == lead; }
};

// Passes over the places where sub cannot stand, and over no faulty byte.
class Skipper {
public:
    // The first character of sub is whole.
    explicit Skipper(char const* sub)
        : _first_upper(find_upper(sub))
        , _first(static_cast<char>(_first_upper))
        , _single_flag(!Codec8::is_char_single_byte(sub[1]) || sub[1] == '\0')
        , _second(_single_flag ? '\0' : static_cast<char>(find_upper(sub + 1))) {}

    // From the start of a character to the next place that needs the comparison: one where sub may
    // stand, a block with a fault, or the last bytes before end.
    char const* skip(char const* text, char const* end) const {
        while (end - text >= checked_len) {
            bool const ascii_flag = is_ascii_block(text);
            if (!ascii_flag && !is_well_formed(text)) {
                break;
            }
            char const* const block_end = text + block_len;
            char const* const next = block_end - (ascii_flag ? 0 : count_open(block_end));
            text = _first_upper < 128 ? find_start(text, next)
                   : ascii_flag       ? next // no character of ASCII has another upper case
                                      : find_upper_char(text, next);
            if (text != next) {
                break;
            }
        }
        return text;
    }

private:
    static long find_upper(char const* src) {
        unicode::Char c;
        Codec8::decode_char(c, src);
        return CharData::to_upper(c);
    }

    // An occurrence starts with a byte of ASCII that fits, before a character that may fit as well,
    // or with a longer sequence: a lead that fits or an overlong form. Gives end if none does
    // before it.
    char const* find_start(char const* block, char const* end) const {
        ByteVec const any = ByteVec{} - static_cast<signed char>(_single_flag);
        ByteVec hit_arr[block_len / sizeof(ByteVec)];
        ByteVec all{};
        for (std::size_t i = 0; i < std::size(hit_arr); ++i) {
            char const* const src = block + i * sizeof(ByteVec);
            ByteVec const b = load_vec(src);
            ByteVec const next = load_vec(src + 1);
            ByteVec const second = any | _second.find_single(next) | _second.find_lead(next) |
                                   (next == lead_3) | (next == lead_4);
            ByteVec const overlong =
                ((b == lead_3) & (next < least_3)) | ((b == lead_4) & (next < least_4));
            hit_arr[i] = (_first.find_single(b) & second) | _first.find_lead(b) | overlong;
            all |= hit_arr[i];
        }
        if (!is_any_set(all)) {
            return end;
        }
        void const* const hit = std::memchr(hit_arr, 0xFF, sizeof(hit_arr));
        long const pos = static_cast<char const*>(hit) - reinterpret_cast<char const*>(hit_arr);
        return std::min(block + pos, end);
    }

    // The first character of a text without fault that is compared as the first one of sub, or end.
    char const* find_upper_char(char const* text, char const* end) const {
        unicode::Char c;
        for (int len; text < end; text += len) {
            Codec8::decode_char(c, text, len);
            if (CharData::to_upper(c) == _first_upper) {
                break;
            }
        }
        return text;
    }

    long _first_upper;
    StartPattern _first;
    bool _single_flag; // the second character tells nothing
    StartPattern _second;
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
        bool last_flag = false; // the terminator is at end
        do {
            cur += len;
            if (!last_flag && end - cur < checked_len) {
                std::size_t const chunk = bounded_len(cur, chunk_len);
                end = cur + chunk;
                last_flag = chunk < chunk_len;
            }
            cur = skipper.skip(cur, end);
            ret_val = compare_start(cur, sub, len);
        } while (ret_val == differs);
    }
    pos = ret_val == 0 ? cur - text : -1;
    return ret_val;
}

} // namespace ulk::txt::utf8
