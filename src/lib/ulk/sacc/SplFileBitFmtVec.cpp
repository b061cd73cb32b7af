#include "ulk/sacc/SplFileBitFmtVec.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ulk::sacc {

#if defined(__SSE2__)

namespace {

using archi::UByte;

__m128i load(UByte const* src) {
    return _mm_loadu_si128(reinterpret_cast<__m128i const*>(src));
}
__m128i load_8(UByte const* src) {
    return _mm_loadl_epi64(reinterpret_cast<__m128i const*>(src));
}
void store(UByte* dst, __m128i x) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), x);
}
void store_8(UByte* dst, __m128i x) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), x);
}

void store_scaled(float* dst, __m128i x, __m128 scale) {
    _mm_storeu_ps(dst, _mm_mul_ps(_mm_cvtepi32_ps(x), scale));
}

// 8 words, signed, to floats.
void store_scaled_16(float* dst, __m128i x, __m128 scale) {
    store_scaled(dst, _mm_srai_epi32(_mm_unpacklo_epi16(x, x), 16), scale);
    store_scaled(dst + 4, _mm_srai_epi32(_mm_unpackhi_epi16(x, x), 16), scale);
}

// 16 bytes, signed, to floats.
void store_scaled_8(float* dst, __m128i x, __m128 scale) {
    store_scaled_16(dst, _mm_srai_epi16(_mm_unpacklo_epi8(x, x), 8), scale);
    store_scaled_16(dst + 8, _mm_srai_epi16(_mm_unpackhi_epi8(x, x), 8), scale);
}

// 4 scaled floats within the limits; 0 for NaN.
__m128 load_clipped(float const* src, __m128 scale, float val_min, float val_max) {
    auto const x = _mm_mul_ps(_mm_loadu_ps(src), scale);
    auto const nbr = _mm_and_ps(x, _mm_cmpord_ps(x, x));
    return _mm_min_ps(_mm_max_ps(nbr, _mm_set1_ps(val_min)), _mm_set1_ps(val_max));
}

__m128i load_rounded(float const* src, __m128 scale, float val_min, float val_max) {
    return _mm_cvtps_epi32(load_clipped(src, scale, val_min, val_max));
}

// The offset is added in double precision: in single precision it would round, and make ties.
__m128i load_rounded_u8(float const* src, __m128 scale) {
    auto const offset = _mm_set1_pd(128);
    auto const x = load_clipped(src, scale, -128, 127);
    auto const lo = _mm_add_pd(_mm_cvtps_pd(x), offset);
    auto const hi = _mm_add_pd(_mm_cvtps_pd(_mm_movehl_ps(x, x)), offset);
    return _mm_unpacklo_epi64(_mm_cvtpd_epi32(lo), _mm_cvtpd_epi32(hi));
}

// The upper limit is no float, so what reaches it is set apart: the conversion answers 0x80000000.
__m128i load_rounded_s32(float const* src, __m128 scale) {
    auto const x = _mm_mul_ps(_mm_loadu_ps(src), scale);
    auto const nbr = _mm_and_ps(x, _mm_cmpord_ps(x, x));
    auto const over = _mm_cmpge_ps(nbr, _mm_set1_ps(2147483648.0f));
    return _mm_xor_si128(_mm_cvtps_epi32(nbr), _mm_castps_si128(over));
}

} // namespace

long SplFileBitFmtVec::conv_u8_to_n(float* dst, UByte const* src, long nbr_spl, float scale) {
    auto const s = _mm_set1_ps(scale);
    auto const offset = _mm_set1_epi8(-128);
    long pos = 0;
    for (; pos + 16 <= nbr_spl; pos += 16) {
        store_scaled_8(dst + pos, _mm_xor_si128(load(src + pos), offset), s);
    }
    return pos;
}

long SplFileBitFmtVec::conv_s8_to_n(float* dst, UByte const* src, long nbr_spl, float scale) {
    auto const s = _mm_set1_ps(scale);
    long pos = 0;
    for (; pos + 16 <= nbr_spl; pos += 16) {
        store_scaled_8(dst + pos, load(src + pos), s);
    }
    return pos;
}

long SplFileBitFmtVec::conv_s16_to_n(float* dst, UByte const* src, long nbr_spl, float scale) {
    auto const s = _mm_set1_ps(scale);
    long pos = 0;
    for (; pos + 8 <= nbr_spl; pos += 8) {
        store_scaled_16(dst + pos, load(src + pos * 2), s);
    }
    return pos;
}

// Each 64-bit half takes 2 samples and 2 bytes of what follows: hence one sample more than is
// converted has to be there.
long SplFileBitFmtVec::conv_s24_to_n(float* dst, UByte const* src, long nbr_spl, float scale) {
    auto const s = _mm_set1_ps(scale);
    auto const even = _mm_set_epi32(0, -1, 0, -1);
    long pos = 0;
    for (; pos + 5 <= nbr_spl; pos += 4) {
        auto const x = _mm_unpacklo_epi64(load_8(src + pos * 3), load_8(src + pos * 3 + 6));
        auto const high_bytes = _mm_or_si128(_mm_and_si128(even, _mm_slli_epi64(x, 8)),
                                             _mm_andnot_si128(even, _mm_slli_epi64(x, 16)));
        store_scaled(dst + pos, _mm_srai_epi32(high_bytes, 8), s);
    }
    return pos;
}

long SplFileBitFmtVec::conv_s32_to_n(float* dst, UByte const* src, long nbr_spl, float scale) {
    auto const s = _mm_set1_ps(scale);
    long pos = 0;
    for (; pos + 4 <= nbr_spl; pos += 4) {
        store_scaled(dst + pos, load(src + pos * 4), s);
    }
    return pos;
}

long SplFileBitFmtVec::conv_n_to_u8(UByte* dst, float const* src, long nbr_spl, float scale) {
    auto const s = _mm_set1_ps(scale);
    long pos = 0;
    for (; pos + 8 <= nbr_spl; pos += 8) {
        auto const x =
            _mm_packs_epi32(load_rounded_u8(src + pos, s), load_rounded_u8(src + pos + 4, s));
        store_8(dst + pos, _mm_packus_epi16(x, x));
    }
    return pos;
}

long SplFileBitFmtVec::conv_n_to_s8(UByte* dst, float const* src, long nbr_spl, float scale) {
    auto const s = _mm_set1_ps(scale);
    long pos = 0;
    for (; pos + 8 <= nbr_spl; pos += 8) {
        auto const x = _mm_packs_epi32(load_rounded(src + pos, s, -128, 127),
                                       load_rounded(src + pos + 4, s, -128, 127));
        store_8(dst + pos, _mm_packs_epi16(x, x));
    }
    return pos;
}

long SplFileBitFmtVec::conv_n_to_s16(UByte* dst, float const* src, long nbr_spl, float scale) {
    auto const s = _mm_set1_ps(scale);
    long pos = 0;
    for (; pos + 8 <= nbr_spl; pos += 8) {
        store(dst + pos * 2, _mm_packs_epi32(load_rounded(src + pos, s, -32768, 32767),
                                             load_rounded(src + pos + 4, s, -32768, 32767)));
    }
    return pos;
}

// Each 64-bit half stores 2 samples and 2 bytes of what the next round overwrites.
long SplFileBitFmtVec::conv_n_to_s24(UByte* dst, float const* src, long nbr_spl, float scale) {
    auto const s = _mm_set1_ps(scale);
    auto const even = _mm_set_epi32(0, 0xFFFFFF, 0, 0xFFFFFF);
    auto const odd = _mm_set_epi32(0xFFFFFF, 0, 0xFFFFFF, 0);
    long pos = 0;
    for (; pos + 5 <= nbr_spl; pos += 4) {
        auto const x = load_rounded(src + pos, s, -8388608, 8388607);
        auto const bytes =
            _mm_or_si128(_mm_and_si128(x, even), _mm_srli_epi64(_mm_and_si128(x, odd), 8));
        store_8(dst + pos * 3, bytes);
        store_8(dst + pos * 3 + 6, _mm_unpackhi_epi64(bytes, bytes));
    }
    return pos;
}

long SplFileBitFmtVec::conv_n_to_s32(UByte* dst, float const* src, long nbr_spl, float scale) {
    auto const s = _mm_set1_ps(scale);
    long pos = 0;
    for (; pos + 4 <= nbr_spl; pos += 4) {
        store(dst + pos * 4, load_rounded_s32(src + pos, s));
    }
    return pos;
}

#else

long SplFileBitFmtVec::conv_u8_to_n(float*, UByte const*, long, float) {
    return 0;
}
long SplFileBitFmtVec::conv_s8_to_n(float*, UByte const*, long, float) {
    return 0;
}
long SplFileBitFmtVec::conv_s16_to_n(float*, UByte const*, long, float) {
    return 0;
}
long SplFileBitFmtVec::conv_s24_to_n(float*, UByte const*, long, float) {
    return 0;
}
long SplFileBitFmtVec::conv_s32_to_n(float*, UByte const*, long, float) {
    return 0;
}

long SplFileBitFmtVec::conv_n_to_u8(UByte*, float const*, long, float) {
    return 0;
}
long SplFileBitFmtVec::conv_n_to_s8(UByte*, float const*, long, float) {
    return 0;
}
long SplFileBitFmtVec::conv_n_to_s16(UByte*, float const*, long, float) {
    return 0;
}
long SplFileBitFmtVec::conv_n_to_s24(UByte*, float const*, long, float) {
    return 0;
}
long SplFileBitFmtVec::conv_n_to_s32(UByte*, float const*, long, float) {
    return 0;
}

#endif

} // namespace ulk::sacc
