#include "ulk/txt/utf8/Codec8.h"

#include "ulk/txt/utf8/block_check.h"
#include "ulk/txt/utf8/bounded_len.h"
#include "ulk/udbg/log.h"

namespace ulk::txt::utf8 {

namespace {

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
