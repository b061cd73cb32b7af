#include "ulk/txt/utf8/Codec8.h"

#include "ulk/txt/utf8/bounded_len.h"
#include "ulk/udbg/log.h"

#include <cstring>

namespace ulk::txt::utf8 {

namespace {

constexpr int block_len = 64;
constexpr int checked_len = block_len + 3;

bool is_ascii_block(char const* src) {
    unsigned long long word_arr[block_len / 8];
    std::memcpy(word_arr, src, block_len);
    unsigned long long all = 0;
    for (unsigned long long const word : word_arr) {
        all |= word;
    }
    return (all & 0x8080808080808080ULL) == 0;
}

// What may not stand at pos, given the three bytes before: a follow byte belongs exactly behind
// the lead bytes that announce it. Without branches, so that the compiler makes vector code of it.
unsigned is_fault(unsigned char b, unsigned char b1, unsigned char b2, unsigned char b3) {
    unsigned const follow = (b & 0xC0) == 0x80;
    unsigned const expected = (b1 >= 0xC0) | (b2 >= 0xE0) | (b3 >= 0xF0);
    return (follow ^ expected) | ((b & 0xFE) == 0xC0) | (b >= 0xF5);
}

// src is at the start of a character. Tells if checked_len bytes hold no fault; the last character
// may reach over their end.
bool is_well_formed(char const* src) {
    unsigned char byte_arr[checked_len];
    std::memcpy(byte_arr, src, checked_len);
    unsigned char const* const p = byte_arr;
    unsigned fault =
        is_fault(p[0], 0, 0, 0) | is_fault(p[1], p[0], 0, 0) | is_fault(p[2], p[1], p[0], 0);
    unsigned char fault_v = 0;
    for (int i = 3; i < checked_len; ++i) {
        fault_v |= static_cast<unsigned char>(is_fault(p[i], p[i - 1], p[i - 2], p[i - 3]));
    }
    return (fault | fault_v) == 0;
}

// How many of the last bytes before end belong to a character that reaches over it.
int count_open(char const* end) {
    auto const lead = [end](int back) { return static_cast<unsigned char>(end[-back]); };
    return lead(1) >= 0xC0 ? 1 : lead(2) >= 0xE0 ? 2 : lead(3) >= 0xF0 ? 3 : 0;
}

// From the start of a character on, past all blocks without fault: to the start of a character
// with less than checked_len bytes, or a fault within them, ahead.
char const* skip_well_formed(char const* src, char const* end) {
    while (end - src >= checked_len) {
        if (is_ascii_block(src)) {
            src += block_len;
        } else if (is_well_formed(src)) {
            src += checked_len;
            src -= count_open(src);
        } else {
            break;
        }
    }
    return src;
}

} // namespace

int Codec8::get_char_seq_len_ucs(int& len, unicode::Char c) {
    if (c < 0) {
        ULK_LOG(ERROR, "get_char_seq_len_ucs(): character out of range (negative 0x%1X%)",
                0U - static_cast<unsigned int>(c));
        len = 0;
        return Err_CHAR_OUT_OF_RANGE;
    }
    if (c > 0x10FFFF) {
        ULK_LOG(ERROR, "get_char_seq_len_ucs(): character out of range (0x%1X%)", c);
        len = 0;
        return Err_CHAR_OUT_OF_RANGE;
    }
    len = 1 + (c > 0x7F) + (c > 0x7FF) + (c > 0xFFFF);
    return 0;
}

int Codec8::encode_char(char* dst, unicode::Char c, int& len) {
    int const ret_val = get_char_seq_len_ucs(len, c);
    if (ret_val != 0) {
        return ret_val;
    }
    if (len == 1) {
        dst[0] = static_cast<char>(c);
        return 0;
    }
    for (int pos = len - 1; pos > 0; --pos) {
        dst[pos] = static_cast<char>(0x80 | (c & 63));
        c >>= 6;
    }
    dst[0] = static_cast<char>((0xF00 >> len) | c);
    return 0;
}

int Codec8::encode_char(char* dst, unicode::Char c) {
    int len;
    int const ret_val = encode_char(dst, c, len);
    dst[len] = '\0';
    return ret_val;
}

int Codec8::encode_char(std::string& dst, unicode::Char c) {
    char seq[max_len];
    int len;
    int const ret_val = encode_char(seq, c, len);
    dst.assign(seq, static_cast<std::size_t>(len));
    return ret_val;
}

int Codec8::decode_sequence(unicode::Char& c, char const* src, int& len) {
    c = 0;
    int const ret_val = get_char_seq_len_utf(len, *src);
    if (ret_val != 0) {
        return ret_val;
    }
    c = static_cast<unsigned char>(*src) & (127 >> len);
    for (int pos = 1; pos < len; ++pos) {
        if (!is_valid_utf8_follow_byte(src[pos])) {
            ULK_LOG(ERROR,
                    "decode_char(): Byte index %1% of the %2%-byte UTF-8 sequence is invalid "
                    "(0x%3X%).",
                    pos, len, static_cast<unsigned int>(static_cast<unsigned char>(src[pos])));
            return Err_INVALID_FOLLOW_BYTE;
        }
        c = c * 64 + (static_cast<unsigned char>(src[pos]) & 63);
    }
    return 0;
}

int Codec8::check_char_valid(char const* src) {
    unicode::Char c;
    return decode_char(c, src);
}

int Codec8::check_string_valid(char const* src) {
    std::size_t len;
    char const* end;
    do {
        len = bounded_len(src, chunk_len);
        end = src + len;
        src = skip_well_formed(src, end);
    } while (len == chunk_len && end - src < checked_len);

    // The last bytes, or a fault ahead
    while (*src != '\0') {
        unicode::Char c;
        int seq_len;
        int const ret_val = decode_char(c, src, seq_len);
        if (ret_val != 0) {
            return ret_val;
        }
        src += seq_len;
    }
    return 0;
}

int Codec8::check_string_valid(std::string const& src) {
    return check_string_valid(src.c_str());
}

} // namespace ulk::txt::utf8
