#include "ulk/sacc/SplFileBitFmtConv.h"

#include "ulk/sacc/SplFileBitFmtVec.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstring>

namespace ulk::sacc {

namespace {

using archi::Int16;
using archi::Int32;
using archi::SByte;
using archi::UByte;
using archi::UInt32;
using Conv = SplFileBitFmtConv;
using Vec = SplFileBitFmtVec;

constexpr bool little_endian_flag = std::endian::native == std::endian::little;

// The integer nearest to a scaled float, within limits, in the current rounding mode; 0 for NaN.
Int32 round_clip(float val, double val_min, double val_max) {
    double const wide = val;
    return std::isnan(wide) ? 0
                            : static_cast<Int32>(std::lrint(std::clamp(wide, val_min, val_max)));
}

UInt32 load_32(UByte const* src) {
    auto const low = static_cast<UInt32>(src[0] | src[1] << 8 | src[2] << 16);
    return low | static_cast<UInt32>(src[3]) << 24;
}

void store_bytes(UByte* dst, Int32 val, int nbr_bytes) {
    auto const bits = static_cast<UInt32>(val);
    for (int b = 0; b < nbr_bytes; ++b) {
        dst[b] = static_cast<UByte>(bits >> (8 * b));
    }
}

// One coding each: its size, one sample in both directions, and the vector forms.
struct U8 {
    static constexpr int size = 1;
    static constexpr auto read_vec = Vec::conv_u8_to_n;
    static constexpr auto write_vec = Vec::conv_n_to_u8;
    static float read(UByte const* src, float scale) {
        return static_cast<float>(*src - 128) * scale;
    }
    static void write(UByte* dst, float val) {
        double const wide = val;
        if (wide < -128) {
            *dst = 0;
        } else if (wide > 127) {
            *dst = 255;
        } else {
            *dst = static_cast<UByte>(std::isnan(wide) ? 128 : std::lrint(wide + 128));
        }
    }
};

struct S8 {
    static constexpr int size = 1;
    static constexpr auto read_vec = Vec::conv_s8_to_n;
    static constexpr auto write_vec = Vec::conv_n_to_s8;
    static float read(UByte const* src, float scale) {
        return static_cast<float>(static_cast<SByte>(*src)) * scale;
    }
    static void write(UByte* dst, float val) { store_bytes(dst, round_clip(val, -128, 127), size); }
};

struct S16 {
    static constexpr int size = 2;
    static constexpr auto read_vec = Vec::conv_s16_to_n;
    static constexpr auto write_vec = Vec::conv_n_to_s16;
    static float read(UByte const* src, float scale) {
        return static_cast<float>(static_cast<Int16>(src[0] | src[1] << 8)) * scale;
    }
    static void write(UByte* dst, float val) {
        store_bytes(dst, round_clip(val, -32768, 32767), size);
    }
};

struct S24 {
    static constexpr int size = 3;
    static constexpr auto read_vec = Vec::conv_s24_to_n;
    static constexpr auto write_vec = Vec::conv_n_to_s24;
    static float read(UByte const* src, float scale) {
        return static_cast<float>(src[0] + src[1] * 256 + static_cast<SByte>(src[2]) * 65536) *
               scale;
    }
    static void write(UByte* dst, float val) {
        store_bytes(dst, round_clip(val, -8388608, 8388607), size);
    }
};

struct S32 {
    static constexpr int size = 4;
    static constexpr auto read_vec = Vec::conv_s32_to_n;
    static constexpr auto write_vec = Vec::conv_n_to_s32;
    static float read(UByte const* src, float scale) {
        return static_cast<float>(static_cast<Int32>(load_32(src))) * scale;
    }
    static void write(UByte* dst, float val) {
        store_bytes(dst, round_clip(val, -2147483648.0, 2147483647.0), size);
    }
};

struct F32 {
    static constexpr int size = 4;
    static float read(UByte const* src, float scale) {
        return std::bit_cast<float>(load_32(src)) * scale;
    }
    static void write(UByte* dst, float val) { store_bytes(dst, std::bit_cast<Int32>(val), size); }
};

template <class F>
void read_strided(float* dst, UByte const* src, long nbr_spl, int float_stride, int byte_stride,
                  float scale) {
    for (long pos = 0; pos < nbr_spl; ++pos) {
        dst[pos * float_stride] = F::read(src + pos * byte_stride, scale);
    }
}

template <class F>
void write_strided(UByte* dst, float const* src, long nbr_spl, int byte_stride, int float_stride,
                   float scale) {
    for (long pos = 0; pos < nbr_spl; ++pos) {
        F::write(dst + pos * byte_stride, scale * src[pos * float_stride]);
    }
}

template <class F>
void read_flat(float* dst, UByte const* src, long nbr_spl, float scale) {
    long const done = F::read_vec(dst, src, nbr_spl, scale);
    read_strided<F>(dst + done, src + done * F::size, nbr_spl - done, 1, F::size, scale);
}

template <class F>
void write_flat(UByte* dst, float const* src, long nbr_spl, float scale) {
    long const done = F::write_vec(dst, src, nbr_spl, scale);
    write_strided<F>(dst + done * F::size, src + done, nbr_spl - done, F::size, 1, scale);
}

// Packed floats are taken over as they are.
template <>
void read_flat<F32>(float* dst, UByte const* src, long nbr_spl, float) {
    if constexpr (little_endian_flag) {
        std::memcpy(dst, src, static_cast<std::size_t>(nbr_spl) * sizeof(float));
    } else {
        read_strided<F32>(dst, src, nbr_spl, 1, F32::size, 1);
    }
}

template <>
void write_flat<F32>(UByte* dst, float const* src, long nbr_spl, float) {
    if constexpr (little_endian_flag) {
        std::memcpy(dst, src, static_cast<std::size_t>(nbr_spl) * sizeof(float));
    } else {
        write_strided<F32>(dst, src, nbr_spl, F32::size, 1, 1);
    }
}

template <int SIZE>
void swap_strided(int byte_order, UByte* data, long nbr_spl, int byte_stride) {
    if (byte_order != Conv::_byte_order_same) {
        for (long pos = 0; pos < nbr_spl; ++pos) {
            auto* const spl = data + pos * byte_stride;
            std::reverse(spl, spl + SIZE);
        }
    }
}

// With padding, each channel's samples are swapped as if they stood side by side.
template <int SIZE>
void swap_frames(int byte_order, UByte* data, long nbr_frames, int nbr_chn, int block_align) {
    if (block_align == nbr_chn * SIZE) {
        swap_strided<SIZE>(byte_order, data, nbr_frames * nbr_chn, SIZE);
        return;
    }
    for (int chn = 0; chn < nbr_chn; ++chn) {
        swap_strided<SIZE>(byte_order, data + chn * SIZE, nbr_frames, SIZE);
    }
}

template <class F>
void read_frames(int byte_order, float* dst, UByte* src, long nbr_frames, int nbr_chn,
                 int block_align, float scale) {
    if (nbr_frames < 1) {
        return;
    }
    swap_frames<F::size>(byte_order, src, nbr_frames, nbr_chn, block_align);
    if (block_align == nbr_chn * F::size) {
        read_flat<F>(dst, src, nbr_frames * nbr_chn, scale);
        return;
    }
    for (int chn = 0; chn < nbr_chn; ++chn) {
        read_strided<F>(dst + chn, src + chn * F::size, nbr_frames, nbr_chn, block_align, scale);
    }
}

template <class F>
void write_frames(int byte_order, UByte* dst, float const* src, long nbr_frames, int nbr_chn,
                  int block_align, float scale) {
    if (nbr_frames < 1) {
        return;
    }
    if (block_align == nbr_chn * F::size) {
        write_flat<F>(dst, src, nbr_frames * nbr_chn, scale);
    } else {
        for (int chn = 0; chn < nbr_chn; ++chn) {
            write_strided<F>(dst + chn * F::size, src + chn, nbr_frames, block_align, nbr_chn,
                             scale);
        }
    }
    swap_frames<F::size>(byte_order, dst, nbr_frames, nbr_chn, block_align);
}

} // namespace

void SplFileBitFmtConv::conv_u8_to_n(float* dst, UByte const* src, long nbr_spl, float scale) {
    read_flat<U8>(dst, src, nbr_spl, scale);
}

void SplFileBitFmtConv::conv_u8_to_n(float* dst, UByte const* src, long nbr_spl, int float_stride,
                                     int byte_stride, float scale) {
    read_strided<U8>(dst, src, nbr_spl, float_stride, byte_stride, scale);
}

void SplFileBitFmtConv::conv_u8_to_n_generic(float* dst, UByte* src, long nbr_frames, int nbr_chn,
                                             int block_align, float scale) {
    read_frames<U8>(Conv::_byte_order_same, dst, src, nbr_frames, nbr_chn, block_align, scale);
}

void SplFileBitFmtConv::conv_n_to_u8(UByte* dst, float const* src, long nbr_spl, float scale) {
    write_flat<U8>(dst, src, nbr_spl, scale);
}

void SplFileBitFmtConv::conv_n_to_u8(UByte* dst, float const* src, long nbr_spl, int byte_stride,
                                     int float_stride, float scale) {
    write_strided<U8>(dst, src, nbr_spl, byte_stride, float_stride, scale);
}

void SplFileBitFmtConv::conv_n_to_u8_generic(UByte* dst, float const* src, long nbr_frames,
                                             int nbr_chn, int block_align, float scale) {
    write_frames<U8>(Conv::_byte_order_same, dst, src, nbr_frames, nbr_chn, block_align, scale);
}

void SplFileBitFmtConv::conv_s8_to_n(float* dst, UByte const* src, long nbr_spl, float scale) {
    read_flat<S8>(dst, src, nbr_spl, scale);
}

void SplFileBitFmtConv::conv_s8_to_n(float* dst, UByte const* src, long nbr_spl, int float_stride,
                                     int byte_stride, float scale) {
    read_strided<S8>(dst, src, nbr_spl, float_stride, byte_stride, scale);
}

void SplFileBitFmtConv::conv_s8_to_n_generic(float* dst, UByte* src, long nbr_frames, int nbr_chn,
                                             int block_align, float scale) {
    read_frames<S8>(Conv::_byte_order_same, dst, src, nbr_frames, nbr_chn, block_align, scale);
}

void SplFileBitFmtConv::conv_n_to_s8(UByte* dst, float const* src, long nbr_spl, float scale) {
    write_flat<S8>(dst, src, nbr_spl, scale);
}

void SplFileBitFmtConv::conv_n_to_s8(UByte* dst, float const* src, long nbr_spl, int byte_stride,
                                     int float_stride, float scale) {
    write_strided<S8>(dst, src, nbr_spl, byte_stride, float_stride, scale);
}

void SplFileBitFmtConv::conv_n_to_s8_generic(UByte* dst, float const* src, long nbr_frames,
                                             int nbr_chn, int block_align, float scale) {
    write_frames<S8>(Conv::_byte_order_same, dst, src, nbr_frames, nbr_chn, block_align, scale);
}

void SplFileBitFmtConv::conv_s16_to_n(float* dst, UByte const* src, long nbr_spl, float scale) {
    read_flat<S16>(dst, src, nbr_spl, scale);
}

void SplFileBitFmtConv::conv_s16_to_n(float* dst, UByte const* src, long nbr_spl, int float_stride,
                                      int byte_stride, float scale) {
    read_strided<S16>(dst, src, nbr_spl, float_stride, byte_stride, scale);
}

void SplFileBitFmtConv::conv_s16_to_n_generic(int byte_order, float* dst, UByte* src,
                                              long nbr_frames, int nbr_chn, int block_align,
                                              float scale) {
    read_frames<S16>(byte_order, dst, src, nbr_frames, nbr_chn, block_align, scale);
}

void SplFileBitFmtConv::conv_n_to_s16(UByte* dst, float const* src, long nbr_spl, float scale) {
    write_flat<S16>(dst, src, nbr_spl, scale);
}

void SplFileBitFmtConv::conv_n_to_s16(UByte* dst, float const* src, long nbr_spl, int byte_stride,
                                      int float_stride, float scale) {
    write_strided<S16>(dst, src, nbr_spl, byte_stride, float_stride, scale);
}

void SplFileBitFmtConv::conv_n_to_s16_generic(int byte_order, UByte* dst, float const* src,
                                              long nbr_frames, int nbr_chn, int block_align,
                                              float scale) {
    write_frames<S16>(byte_order, dst, src, nbr_frames, nbr_chn, block_align, scale);
}

void SplFileBitFmtConv::conv_s24_to_n(float* dst, UByte const* src, long nbr_spl, float scale) {
    read_flat<S24>(dst, src, nbr_spl, scale);
}

void SplFileBitFmtConv::conv_s24_to_n(float* dst, UByte const* src, long nbr_spl, int float_stride,
                                      int byte_stride, float scale) {
    read_strided<S24>(dst, src, nbr_spl, float_stride, byte_stride, scale);
}

void SplFileBitFmtConv::conv_s24_to_n_generic(int byte_order, float* dst, UByte* src,
                                              long nbr_frames, int nbr_chn, int block_align,
                                              float scale) {
    read_frames<S24>(byte_order, dst, src, nbr_frames, nbr_chn, block_align, scale);
}

void SplFileBitFmtConv::conv_n_to_s24(UByte* dst, float const* src, long nbr_spl, float scale) {
    write_flat<S24>(dst, src, nbr_spl, scale);
}

void SplFileBitFmtConv::conv_n_to_s24(UByte* dst, float const* src, long nbr_spl, int byte_stride,
                                      int float_stride, float scale) {
    write_strided<S24>(dst, src, nbr_spl, byte_stride, float_stride, scale);
}

void SplFileBitFmtConv::conv_n_to_s24_generic(int byte_order, UByte* dst, float const* src,
                                              long nbr_frames, int nbr_chn, int block_align,
                                              float scale) {
    write_frames<S24>(byte_order, dst, src, nbr_frames, nbr_chn, block_align, scale);
}

void SplFileBitFmtConv::conv_s32_to_n(float* dst, UByte const* src, long nbr_spl, float scale) {
    read_flat<S32>(dst, src, nbr_spl, scale);
}

void SplFileBitFmtConv::conv_s32_to_n(float* dst, UByte const* src, long nbr_spl, int float_stride,
                                      int byte_stride, float scale) {
    read_strided<S32>(dst, src, nbr_spl, float_stride, byte_stride, scale);
}

void SplFileBitFmtConv::conv_s32_to_n_generic(int byte_order, float* dst, UByte* src,
                                              long nbr_frames, int nbr_chn, int block_align,
                                              float scale) {
    read_frames<S32>(byte_order, dst, src, nbr_frames, nbr_chn, block_align, scale);
}

void SplFileBitFmtConv::conv_n_to_s32(UByte* dst, float const* src, long nbr_spl, float scale) {
    write_flat<S32>(dst, src, nbr_spl, scale);
}

void SplFileBitFmtConv::conv_n_to_s32(UByte* dst, float const* src, long nbr_spl, int byte_stride,
                                      int float_stride, float scale) {
    write_strided<S32>(dst, src, nbr_spl, byte_stride, float_stride, scale);
}

void SplFileBitFmtConv::conv_n_to_s32_generic(int byte_order, UByte* dst, float const* src,
                                              long nbr_frames, int nbr_chn, int block_align,
                                              float scale) {
    write_frames<S32>(byte_order, dst, src, nbr_frames, nbr_chn, block_align, scale);
}

void SplFileBitFmtConv::conv_f32_to_n_generic(int byte_order, float* dst, UByte* src,
                                              long nbr_frames, int nbr_chn, int block_align,
                                              float scale) {
    read_frames<F32>(byte_order, dst, src, nbr_frames, nbr_chn, block_align, scale);
}

void SplFileBitFmtConv::conv_n_to_f32_generic(int byte_order, UByte* dst, float const* src,
                                              long nbr_frames, int nbr_chn, int block_align,
                                              float scale) {
    write_frames<F32>(byte_order, dst, src, nbr_frames, nbr_chn, block_align, scale);
}

void SplFileBitFmtConv::swap_endian_16(int byte_order, UByte* data, long nbr_spl) {
    swap_strided<2>(byte_order, data, nbr_spl, 2);
}

void SplFileBitFmtConv::swap_endian_16(int byte_order, UByte* data, long nbr_spl, int byte_stride) {
    swap_strided<2>(byte_order, data, nbr_spl, byte_stride);
}

void SplFileBitFmtConv::swap_endian_16_generic(int byte_order, UByte* data, long nbr_frames,
                                               int nbr_chn, int block_align) {
    swap_frames<2>(byte_order, data, nbr_frames, nbr_chn, block_align);
}

void SplFileBitFmtConv::swap_endian_24(int byte_order, UByte* data, long nbr_spl) {
    swap_strided<3>(byte_order, data, nbr_spl, 3);
}

void SplFileBitFmtConv::swap_endian_24(int byte_order, UByte* data, long nbr_spl, int byte_stride) {
    swap_strided<3>(byte_order, data, nbr_spl, byte_stride);
}

void SplFileBitFmtConv::swap_endian_24_generic(int byte_order, UByte* data, long nbr_frames,
                                               int nbr_chn, int block_align) {
    swap_frames<3>(byte_order, data, nbr_frames, nbr_chn, block_align);
}

void SplFileBitFmtConv::swap_endian_32(int byte_order, UByte* data, long nbr_spl) {
    swap_strided<4>(byte_order, data, nbr_spl, 4);
}

void SplFileBitFmtConv::swap_endian_32(int byte_order, UByte* data, long nbr_spl, int byte_stride) {
    swap_strided<4>(byte_order, data, nbr_spl, byte_stride);
}

void SplFileBitFmtConv::swap_endian_32_generic(int byte_order, UByte* data, long nbr_frames,
                                               int nbr_chn, int block_align) {
    swap_frames<4>(byte_order, data, nbr_frames, nbr_chn, block_align);
}

} // namespace ulk::sacc
