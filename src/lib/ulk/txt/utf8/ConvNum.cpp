#include "ulk/txt/utf8/ConvNum.h"

#include "ulk/txt/unicode/CharData.h"
#include "ulk/txt/utf8/Codec8.h"

#include <algorithm>
#include <limits>

namespace ulk::txt::utf8 {

namespace {

constexpr int group_separator = 5;

char const* skip_blanks(char const* str) {
    unicode::Char c;
    int len;
    while (Codec8::decode_char(c, str, len) == 0 && c != 0 &&
           unicode::CharData::get_categ(c) >> 4 >= group_separator) {
        str += len;
    }
    return str;
}

// The digit's value, or -1.
int conv_digit(char c, int base) {
    int digit = -1;
    if (c >= '0' && c <= '9') {
        digit = c - '0';
    } else if (c >= 'A' && c <= 'Z') {
        digit = c - 'A' + 10;
    } else if (c >= 'a' && c <= 'z') {
        digit = c - 'a' + 10;
    }
    return digit < base ? digit : -1;
}

} // namespace

int ConvNum::conv_str_to_int64(long long& val, char const* str, int base, long* stop_pos) {
    char const* cur = skip_blanks(str);
    bool const neg_flag = *cur == '-';
    if (neg_flag || *cur == '+') {
        ++cur;
    }

    using Limits = std::numeric_limits<long long>;
    char const* const digits = cur;
    bool overflow_flag = false;
    val = 0;
    for (int digit; (digit = conv_digit(*cur, base)) >= 0; ++cur) {
        overflow_flag = overflow_flag || val > (Limits::max() - digit) / base;
        val = overflow_flag ? 0 : val * base + digit;
    }
    if (overflow_flag) {
        val = neg_flag ? Limits::min() : Limits::max();
    } else if (neg_flag) {
        val = -val;
    }

    if (stop_pos != nullptr) {
        *stop_pos = cur - str;
    }
    return cur == digits ? Err_NOT_FOUND : 0;
}

long long ConvNum::conv_str_to_int64(char const* str, int base) {
    long long val;
    conv_str_to_int64(val, str, base);
    return val;
}

int ConvNum::conv_int64_to_str(char* dst, long long val, long max_len, int base) {
    if (base < 2 || base > 36) {
        return Err_DEST_TOO_SMALL;
    }
    long len = val < 0 ? 2 : 1;
    for (long long rest = val / base; rest != 0; rest /= base) {
        ++len;
    }
    if (len > max_len) {
        return Err_DEST_TOO_SMALL;
    }
    dst[len] = '\0';
    dst[0] = '-';
    for (long long rest = val; len > (val < 0 ? 1 : 0); rest /= base) {
        int const digit = static_cast<int>(rest % base < 0 ? -(rest % base) : rest % base);
        dst[--len] = static_cast<char>(digit < 10 ? '0' + digit : 'A' + digit - 10);
    }
    return 0;
}

} // namespace ulk::txt::utf8
