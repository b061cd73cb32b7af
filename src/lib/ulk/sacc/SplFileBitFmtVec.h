#pragma once

#include "ulk/archi/types.h"

namespace ulk::sacc {

// 128-bit forms of the flat conversions of SplFileBitFmtConv, with the same results to the bit.
// Each converts as many samples from the start as go through whole vectors, touches nothing behind
// nbr_spl, and returns that number; the caller does the rest. On a processor without vectors the
// number is 0. All of them are // real-time.
class SplFileBitFmtVec {
public:
    using UByte = archi::UByte;

    SplFileBitFmtVec() = delete;

    static long conv_u8_to_n(float* dst, UByte const* src, long nbr_spl, float scale);
    static long conv_s8_to_n(float* dst, UByte const* src, long nbr_spl, float scale);
    static long conv_s16_to_n(float* dst, UByte const* src, long nbr_spl, float scale);
    static long conv_s24_to_n(float* dst, UByte const* src, long nbr_spl, float scale);
    static long conv_s32_to_n(float* dst, UByte const* src, long nbr_spl, float scale);

    static long conv_n_to_u8(UByte* dst, float const* src, long nbr_spl, float scale);
    static long conv_n_to_s8(UByte* dst, float const* src, long nbr_spl, float scale);
    static long conv_n_to_s16(UByte* dst, float const* src, long nbr_spl, float scale);
    static long conv_n_to_s24(UByte* dst, float const* src, long nbr_spl, float scale);
    static long conv_n_to_s32(UByte* dst, float const* src, long nbr_spl, float scale);
};

} // namespace ulk::sacc
