#pragma once

#include "ulk/txt/utf8/Err.h"

namespace ulk::txt::utf8 {

// Integers as text, in bases 2 to 36. Callable from any thread.
class ConvNum {
public:
    ConvNum() = delete;

    // Reads a number behind leading separators and controls, with an optional sign; letters of
    // either case are the digits from 10 on. Beyond the range val is the bound on that side.
    // stop_pos, if not null, becomes the offset of the first byte that was not taken. Gives 0, or
    // Err_NOT_FOUND with val 0 if there is no digit.
    static int conv_str_to_int64(long long& val, char const* str, int base,
                                 long* stop_pos = nullptr);
    // The value alone.
    static long long conv_str_to_int64(char const* str, int base);

    // Writes val with upper-case digits and a terminator. max_len does not count the terminator:
    // dst has room for max_len + 1 bytes. Too long, or no such base: Err_DEST_TOO_SMALL, dst
    // untouched. real-time
    static int conv_int64_to_str(char* dst, long long val, long max_len, int base);
};

} // namespace ulk::txt::utf8
