#pragma once

#include "ulk/archi/types.h"

namespace ulk::sacc {

// Conversion between the sample codings of files and normalised floats.
//
// Reading:  float = file value * scale, in single precision. Writing: file value = scale * float,
// saturated, then rounded in the processor's current mode (to nearest, ties to even); NaN gives the
// format's zero. No dither. Floats in files are never clipped.
//
// n is the normalised float side, interleaved in the generic forms; u8, s8, s16, s24, s32 and f32
// are byte strings, low byte first. Lengths below 1 convert nothing. Buffers must not overlap.
// Nothing here allocates, locks or throws: all functions are // real-time and for any thread.
//
// Flat form: nbr_spl samples side by side. Strided form: one channel; float_stride in floats,
// byte_stride in bytes. Generic form: nbr_frames frames of nbr_chn samples, block_align bytes from
// frame to frame in the file (padding included), floats side by side. Bytes of padding are left
// untouched on writing. A generic form swaps bytes unless byte_order is 2; when it reads it does so
// in the source. Swapping takes the samples of a channel as standing side by side, so it only makes
// sense without padding.
class SplFileBitFmtConv {
public:
    using UByte = archi::UByte;

    static constexpr int _byte_order_same = 2; // byte_order of data that needs no swap

    SplFileBitFmtConv() = delete;

    static void conv_u8_to_n(float* dst, UByte const* src, long nbr_spl, float scale);
    static void conv_u8_to_n(float* dst, UByte const* src, long nbr_spl, int float_stride,
                             int byte_stride, float scale);
    static void conv_u8_to_n_generic(float* dst, UByte* src, long nbr_frames, int nbr_chn,
                                     int block_align, float scale);
    static void conv_n_to_u8(UByte* dst, float const* src, long nbr_spl, float scale);
    static void conv_n_to_u8(UByte* dst, float const* src, long nbr_spl, int byte_stride,
                             int float_stride, float scale);
    static void conv_n_to_u8_generic(UByte* dst, float const* src, long nbr_frames, int nbr_chn,
                                     int block_align, float scale);

    static void conv_s8_to_n(float* dst, UByte const* src, long nbr_spl, float scale);
    static void conv_s8_to_n(float* dst, UByte const* src, long nbr_spl, int float_stride,
                             int byte_stride, float scale);
    static void conv_s8_to_n_generic(float* dst, UByte* src, long nbr_frames, int nbr_chn,
                                     int block_align, float scale);
    static void conv_n_to_s8(UByte* dst, float const* src, long nbr_spl, float scale);
    static void conv_n_to_s8(UByte* dst, float const* src, long nbr_spl, int byte_stride,
                             int float_stride, float scale);
    static void conv_n_to_s8_generic(UByte* dst, float const* src, long nbr_frames, int nbr_chn,
                                     int block_align, float scale);

    static void conv_s16_to_n(float* dst, UByte const* src, long nbr_spl, float scale);
    static void conv_s16_to_n(float* dst, UByte const* src, long nbr_spl, int float_stride,
                              int byte_stride, float scale);
    static void conv_s16_to_n_generic(int byte_order, float* dst, UByte* src, long nbr_frames,
                                      int nbr_chn, int block_align, float scale);
    static void conv_n_to_s16(UByte* dst, float const* src, long nbr_spl, float scale);
    static void conv_n_to_s16(UByte* dst, float const* src, long nbr_spl, int byte_stride,
                              int float_stride, float scale);
    static void conv_n_to_s16_generic(int byte_order, UByte* dst, float const* src, long nbr_frames,
                                      int nbr_chn, int block_align, float scale);

    static void conv_s24_to_n(float* dst, UByte const* src, long nbr_spl, float scale);
    static void conv_s24_to_n(float* dst, UByte const* src, long nbr_spl, int float_stride,
                              int byte_stride, float scale);
    static void conv_s24_to_n_generic(int byte_order, float* dst, UByte* src, long nbr_frames,
                                      int nbr_chn, int block_align, float scale);
    static void conv_n_to_s24(UByte* dst, float const* src, long nbr_spl, float scale);
    static void conv_n_to_s24(UByte* dst, float const* src, long nbr_spl, int byte_stride,
                              int float_stride, float scale);
    static void conv_n_to_s24_generic(int byte_order, UByte* dst, float const* src, long nbr_frames,
                                      int nbr_chn, int block_align, float scale);

    static void conv_s32_to_n(float* dst, UByte const* src, long nbr_spl, float scale);
    static void conv_s32_to_n(float* dst, UByte const* src, long nbr_spl, int float_stride,
                              int byte_stride, float scale);
    static void conv_s32_to_n_generic(int byte_order, float* dst, UByte* src, long nbr_frames,
                                      int nbr_chn, int block_align, float scale);
    static void conv_n_to_s32(UByte* dst, float const* src, long nbr_spl, float scale);
    static void conv_n_to_s32(UByte* dst, float const* src, long nbr_spl, int byte_stride,
                              int float_stride, float scale);
    static void conv_n_to_s32_generic(int byte_order, UByte* dst, float const* src, long nbr_frames,
                                      int nbr_chn, int block_align, float scale);

    // The scale counts for padded frames alone; packed data is copied as it is.
    static void conv_f32_to_n_generic(int byte_order, float* dst, UByte* src, long nbr_frames,
                                      int nbr_chn, int block_align, float scale);
    static void conv_n_to_f32_generic(int byte_order, UByte* dst, float const* src, long nbr_frames,
                                      int nbr_chn, int block_align, float scale);

    // Reverses the bytes of each sample in place; nothing happens when byte_order is 2.
    static void swap_endian_16(int byte_order, UByte* data, long nbr_spl);
    static void swap_endian_16(int byte_order, UByte* data, long nbr_spl, int byte_stride);
    static void swap_endian_16_generic(int byte_order, UByte* data, long nbr_frames, int nbr_chn,
                                       int block_align);
    static void swap_endian_24(int byte_order, UByte* data, long nbr_spl);
    static void swap_endian_24(int byte_order, UByte* data, long nbr_spl, int byte_stride);
    static void swap_endian_24_generic(int byte_order, UByte* data, long nbr_frames, int nbr_chn,
                                       int block_align);
    static void swap_endian_32(int byte_order, UByte* data, long nbr_spl);
    static void swap_endian_32(int byte_order, UByte* data, long nbr_spl, int byte_stride);
    static void swap_endian_32_generic(int byte_order, UByte* data, long nbr_frames, int nbr_chn,
                                       int block_align);
};

} // namespace ulk::sacc
