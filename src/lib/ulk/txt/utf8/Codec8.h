#pragma once

#include "ulk/txt/unicode/Char.h"
#include "ulk/txt/utf8/Err.h"

#include <string>

namespace ulk::txt::utf8 {

// Encodes and decodes single characters. The codec is lenient: overlong sequences of three and
// four bytes, surrogates and values up to 0x13FFFF decode; encoding takes all of 0 to 0x10FFFF.
// Results are 0 or a code of utf8/Err.h. Callable from any thread; failures log a line unless told
// otherwise.
class Codec8 {
public:
    static constexpr int max_len = 4; // bytes of a sequence, without terminator

    Codec8() = delete;

    // False for the bytes that occur in no sequence: 192, 193, 245 and above.
    static constexpr bool is_valid_utf8_byte(char c) {
        int const b = static_cast<unsigned char>(c);
        return b != 192 && b != 193 && b < 245;
    }
    static constexpr bool is_valid_utf8_lead_byte(char c) {
        int const b = static_cast<unsigned char>(c);
        return b < 128 || (b >= 194 && b < 245);
    }
    static constexpr bool is_valid_utf8_follow_byte(char c) {
        return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
    }
    static constexpr bool is_char_single_byte(char c) {
        return static_cast<unsigned char>(c) < 128;
    }

    // Bytes that c takes. Out of range: len is 0, Err_CHAR_OUT_OF_RANGE.
    static int get_char_seq_len_ucs(int& len, unicode::Char c) {
        bool const valid_flag = c >= 0 && c <= 0x10FFFF;
        len = valid_flag ? 1 + (c > 0x7F) + (c > 0x7FF) + (c > 0xFFFF) : 0;
        return valid_flag ? 0 : report_range(c, __PRETTY_FUNCTION__, __LINE__);
    }

    // Bytes that a lead byte announces. Refused: len is 1, Err_INVALID_LEAD_BYTE; logs nothing.
    static constexpr int get_char_seq_len_utf(int& len, char lead) {
        len = 1;
        if (!is_valid_utf8_lead_byte(lead)) {
            return Err_INVALID_LEAD_BYTE;
        }
        int const b = static_cast<unsigned char>(lead);
        len += (b >= 194) + (b >= 224) + (b >= 240);
        return 0;
    }

    // Writes len bytes, and no terminator. On failure dst is untouched and len 0.
    static int encode_char(char* dst, unicode::Char c, int& len) {
        int const ret_val = get_char_seq_len_ucs(len, c);
        if (len == 1) {
            dst[0] = static_cast<char>(c);
        } else if (len > 1) {
            for (int pos = len - 1; pos > 0; --pos) {
                dst[pos] = static_cast<char>(0x80 | (c & 63));
                c >>= 6;
            }
            dst[0] = static_cast<char>((0xF00 >> len) | c);
        }
        return ret_val;
    }
    // The same with a terminator: dst has room for 5 bytes. On failure dst is empty.
    static int encode_char(char* dst, unicode::Char c);
    // dst becomes the one character, or empty on failure.
    static int encode_char(std::string& dst, unicode::Char c);

    // Decodes the sequence at src, reading no byte behind the first faulty one. len becomes the
    // length that the lead byte announces; a refused lead byte gives 1 and logs nothing. On failure
    // c is no character.
    static int decode_char(unicode::Char& c, char const* src, int& len) {
        c = static_cast<unsigned char>(*src);
        len = 1;
        if (c < 128) {
            return 0;
        }
        c = 0;
        int ret_val = get_char_seq_len_utf(len, *src);
        if (ret_val == 0) {
            c = static_cast<unsigned char>(*src) & (127 >> len);
            for (int pos = 1; pos < len; ++pos) {
                if (!is_valid_utf8_follow_byte(src[pos])) {
                    ret_val = report_follow_byte(src, pos, len, __PRETTY_FUNCTION__, __LINE__);
                    break;
                }
                c = c * 64 + (static_cast<unsigned char>(src[pos]) & 63);
            }
        }
        return ret_val;
    }
    static int decode_char(unicode::Char& c, char const* src) {
        int len;
        return decode_char(c, src, len);
    }

    // The result of decoding the first character.
    static int check_char_valid(char const* src);

    // Decodes up to the terminator: the result of the first failure, or 0.
    static int check_string_valid(char const* src);
    static int check_string_valid(std::string const& src);

private:
    // Failures: they log in the name of a function, and give their code.
    static int report_range(unicode::Char c, char const* function, long line);
    static int report_follow_byte(char const* src, int pos, int len, char const* function,
                                  long line);
};

} // namespace ulk::txt::utf8
