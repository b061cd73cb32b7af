#include "ulk/util/TraceTools.h"

#include <cctype>

namespace ulk::util {

void TraceTools::truncate_string(char* buf, long size) {
    for (long back = 2; back <= 4 && back <= size; ++back) {
        buf[size - back] = '.';
    }
    if (size > 0) {
        buf[size - 1] = '\0';
    }
}

void TraceTools::dump_mem_as_hex(char* dst, long dst_size, void const* src, long len) {
    constexpr char digit_arr[] = "0123456789ABCDEF";
    auto const* const byte_arr = static_cast<unsigned char const*>(src);
    long const limit = dst_size - 1;
    long pos = 0;
    long nbr_done = 0;
    for (; nbr_done < len && pos < limit; ++nbr_done) {
        dst[pos++] = digit_arr[byte_arr[nbr_done] >> 4];
        if (pos < limit) {
            dst[pos++] = digit_arr[byte_arr[nbr_done] & 15];
        }
        if (pos < limit) {
            if (pos + 2 < dst_size) {
                dst[pos + 2] = ' '; // where the low digit of the next byte goes
            }
            ++pos;
        }
    }
    finish(dst, dst_size, pos, nbr_done < len);
}

void TraceTools::dump_mem_as_filtered_string(char* dst, long dst_size, void const* src, long len) {
    auto const* const byte_arr = static_cast<unsigned char const*>(src);
    long pos = 0;
    for (; pos < len && pos < dst_size - 1; ++pos) {
        dst[pos] = std::isprint(byte_arr[pos]) != 0 ? static_cast<char>(byte_arr[pos]) : '~';
    }
    finish(dst, dst_size, pos, pos < len);
}

void TraceTools::finish(char* dst, long dst_size, long pos, bool left_flag) {
    if (left_flag) {
        truncate_string(dst, dst_size);
    } else if (dst_size > 0) {
        dst[pos] = '\0';
    }
}

} // namespace ulk::util
