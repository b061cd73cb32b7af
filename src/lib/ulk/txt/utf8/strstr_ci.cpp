#include "ulk/txt/utf8/utf8.h"

#include "ulk/txt/unicode/CharData.h"
#include "ulk/txt/utf8/Codec8.h"
#include "ulk/txt/utf8/bounded_len.h"

#include <cstring>

namespace ulk::txt::utf8 {

namespace {

using unicode::CharData;

constexpr int differs = 1;
constexpr int block_len = 32;

bool is_ascii(char c) {
    return Codec8::is_char_single_byte(c);
}

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

// A character of ASCII in both cases: those bytes b with (b | mask) == val. None for other ones.
struct BytePattern {
    unsigned char mask;
    unsigned char val;

    explicit BytePattern(long c) {
        bool const letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        mask = letter ? 0x20 : c < 128 ? 0 : 0xFF;
        val = static_cast<unsigned char>(c < 128 ? c | mask : 0);
    }
};

// The first character as it is compared: that of some others is ASCII, such as the long s.
long fold_first(char const* sub) {
    unicode::Char c;
    Codec8::decode_char(c, sub);
    return CharData::to_upper(c);
}

// Passes over the places where sub cannot stand: an occurrence begins with a byte of ASCII that
// fits and is followed by one that fits too, or with a sequence of several bytes. Those are left to
// the comparison in any case, so that no faulty one is passed over.
class Skipper {
public:
    // The first character of sub is whole.
    explicit Skipper(char const* sub)
        : _first(fold_first(sub))
        , _second(static_cast<unsigned char>(sub[1]))
        , _single_flag(sub[1] == '\0' || !is_ascii(sub[1])) {}

    // Whole blocks from text on, all before end, as far as they have no such place; then on to it.
    char const* skip(char const* text, char const* end) const {
        while (end - text > block_len) {
            unsigned char hit_arr[block_len];
            mark_hits(hit_arr, text);
            unsigned long long word_arr[block_len / 8];
            std::memcpy(word_arr, hit_arr, block_len);
            if ((word_arr[0] | word_arr[1] | word_arr[2] | word_arr[3]) != 0) {
                return text +
                       (static_cast<unsigned char*>(std::memchr(hit_arr, 1, block_len)) - hit_arr);
            }
            text += block_len;
        }
        return text;
    }

private:
    void mark_hits(unsigned char* hit_arr, char const* text) const {
        unsigned char const any = _single_flag ? 1 : 0;
        for (int i = 0; i < block_len; ++i) {
            unsigned char const b = static_cast<unsigned char>(text[i]);
            unsigned char const next = static_cast<unsigned char>(text[i + 1]);
            bool const first = (b | _first.mask) == _first.val;
            bool const second = ((next | _second.mask) == _second.val) | (next >= 128);
            hit_arr[i] = static_cast<unsigned char>((first & (second | any)) | (b >= 128));
        }
    }

    BytePattern _first;
    BytePattern _second;
    bool _single_flag;
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
            if (is_ascii(*cur)) {
                cur = skipper.skip(cur, end);
            }
            ret_val = compare_start(cur, sub, len);
        } while (ret_val == differs);
    }
    pos = ret_val == 0 ? cur - text : -1;
    return ret_val;
}

} // namespace ulk::txt::utf8
