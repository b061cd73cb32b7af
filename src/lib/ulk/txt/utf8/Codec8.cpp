#include "ulk/txt/utf8/Codec8.h"

#include "ulk/txt/utf8/block_check.h"
#include "ulk/txt/utf8/bounded_len.h"
#include "ulk/udbg/log.h"

namespace ulk::txt::utf8 {

namespace {

template <class... Args>
void log_error(char const* function, long line, char const* format, Args const&... args) {
    static constexpr auto source = udbg::make_log_source(__FILE__, __DATE__);
    udbg::write_log(&udbg::LogMgr::write, udbg::Debugger::Level_ERROR, source.txt, function, line,
                    format, args...);
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

int Codec8::report_range(unicode::Char c, char const* function, long line) {
    if (c < 0) {
        log_error(function, line,
                  "get_char_seq_len_ucs(): character out of range (negative 0x%1X%)",
                  0U - static_cast<unsigned int>(c));
    } else {
        log_error(function, line, "get_char_seq_len_ucs(): character out of range (0x%1X%)", c);
    }
    return Err_CHAR_OUT_OF_RANGE;
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

int Codec8::report_follow_byte(char const* src, int pos, int len, char const* function, long line) {
    log_error(function, line,
              "decode_char(): Byte index %1% of the %2%-byte UTF-8 sequence is invalid (0x%3X%).",
              pos, len, static_cast<unsigned int>(static_cast<unsigned char>(src[pos])));
    return Err_INVALID_FOLLOW_BYTE;
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
