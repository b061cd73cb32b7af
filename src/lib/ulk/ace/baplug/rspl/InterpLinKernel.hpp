#pragma once

#include "ulk/archi/types.h"

// Body of InterpLin, included by one file for each width of vector, which is compiled for
// processors that have it. All of it stays local to that file and calls nothing outside: the linker
// must never take a function of a wide file for one of another.

namespace ulk::ace::baplug::rspl {

namespace {

using V2f = float __attribute__((vector_size(8)));
using V4f = float __attribute__((vector_size(16)));

// W numbers of 32 bits.
template <int W>
struct Vec;
template <>
struct Vec<4> {
    using F = V4f;
    using I = archi::Int32 __attribute__((vector_size(16)));
    using U = archi::UInt32 __attribute__((vector_size(16)));
};
template <>
struct Vec<8> {
    using F = float __attribute__((vector_size(32)));
    using I = archi::Int32 __attribute__((vector_size(32)));
    using U = archi::UInt32 __attribute__((vector_size(32)));
};

template <class V>
V load(float const* src) {
    V val;
    __builtin_memcpy(&val, src, sizeof(val));
    return val;
}

template <class V>
void store(float* dest, V const& val) {
    __builtin_memcpy(dest, &val, sizeof(val));
}

// In two halves, since vectors convert no unsigned integers. Exact: 2^-32.
template <class F>
F scale_frac(F const& hi, F const& lo) {
    return (hi * 65536.0f + lo) * 0x1p-32f;
}

// Position of W output frames at once, in 1/2^32 frames.
template <int W>
class Walk {
public:
    using F = typename Vec<W>::F;

    Walk(archi::UInt64 pos, archi::UInt64 step)
        : _pos(pos)
        , _step(step)
        , _frac(count_up() * static_cast<archi::UInt32>(step) + static_cast<archi::UInt32>(pos)) {}

    long get_index(int k) const {
        auto const pos = _pos + _step * static_cast<unsigned int>(k);
        return static_cast<long>(static_cast<archi::Int64>(pos) >> 32);
    }
    F get_frac() const {
        using I = typename Vec<W>::I;
        return scale_frac(__builtin_convertvector(reinterpret_cast<I>(_frac >> 16), F),
                          __builtin_convertvector(reinterpret_cast<I>(_frac & 0xFFFF), F));
    }
    void move() {
        _pos += _step * W;
        _frac += static_cast<archi::UInt32>(_step * W);
    }

private:
    static typename Vec<W>::U count_up() {
        if constexpr (W == 4) {
            return typename Vec<W>::U{0, 1, 2, 3};
        } else {
            return typename Vec<W>::U{0, 1, 2, 3, 4, 5, 6, 7};
        }
    }

    archi::UInt64 _pos;
    archi::UInt64 _step;
    typename Vec<W>::U _frac;
};

// A row of 4 floats, or one for output frame k and one for frame k + 4 beside each other.
template <int W, class LoadFnc>
typename Vec<W>::F load_row(LoadFnc load_fnc, int k) {
    if constexpr (W == 4) {
        return load_fnc(k);
    } else {
        return __builtin_shufflevector(load_fnc(k), load_fnc(k + 4), 0, 1, 2, 3, 4, 5, 6, 7);
    }
}

// Rows of 4 floats.
template <int W>
struct Rows {
    typename Vec<W>::F a, b, c, d;
};

// Rows become columns, four by four.
template <int W>
Rows<W> transpose(Rows<W> const& rows) {
    using F = typename Vec<W>::F;
    auto const [a, b, c, d] = rows;
    if constexpr (W == 4) {
        F const ab_lo = __builtin_shufflevector(a, b, 0, 4, 1, 5);
        F const ab_hi = __builtin_shufflevector(a, b, 2, 6, 3, 7);
        F const cd_lo = __builtin_shufflevector(c, d, 0, 4, 1, 5);
        F const cd_hi = __builtin_shufflevector(c, d, 2, 6, 3, 7);
        return {__builtin_shufflevector(ab_lo, cd_lo, 0, 1, 4, 5),
                __builtin_shufflevector(ab_lo, cd_lo, 2, 3, 6, 7),
                __builtin_shufflevector(ab_hi, cd_hi, 0, 1, 4, 5),
                __builtin_shufflevector(ab_hi, cd_hi, 2, 3, 6, 7)};
    } else {
        F const ab_lo = __builtin_shufflevector(a, b, 0, 8, 1, 9, 4, 12, 5, 13);
        F const ab_hi = __builtin_shufflevector(a, b, 2, 10, 3, 11, 6, 14, 7, 15);
        F const cd_lo = __builtin_shufflevector(c, d, 0, 8, 1, 9, 4, 12, 5, 13);
        F const cd_hi = __builtin_shufflevector(c, d, 2, 10, 3, 11, 6, 14, 7, 15);
        return {__builtin_shufflevector(ab_lo, cd_lo, 0, 1, 8, 9, 4, 5, 12, 13),
                __builtin_shufflevector(ab_lo, cd_lo, 2, 3, 10, 11, 6, 7, 14, 15),
                __builtin_shufflevector(ab_hi, cd_hi, 0, 1, 8, 9, 4, 5, 12, 13),
                __builtin_shufflevector(ab_hi, cd_hi, 2, 3, 10, 11, 6, 7, 14, 15)};
    }
}

V4f join(V2f lo, V2f hi) {
    return __builtin_shufflevector(lo, hi, 0, 1, 2, 3);
}

// Every other float of both, from the first and from the second on.
template <int W>
void separate(typename Vec<W>::F& even, typename Vec<W>::F& odd) {
    typename Vec<W>::F const a = even;
    typename Vec<W>::F const b = odd;
    if constexpr (W == 4) {
        even = __builtin_shufflevector(a, b, 0, 2, 4, 6);
        odd = __builtin_shufflevector(a, b, 1, 3, 5, 7);
    } else {
        even = __builtin_shufflevector(a, b, 0, 2, 8, 10, 4, 6, 12, 14);
        odd = __builtin_shufflevector(a, b, 1, 3, 9, 11, 5, 7, 13, 15);
    }
}

// W output frames of so many channels. Always inlined, or the walk would live in memory.
template <int W>
[[gnu::always_inline]] inline void process_1(float* dest, float const* src, long stride,
                                             Walk<W> const& walk) {
    typename Vec<W>::F a;
    typename Vec<W>::F b;
    if (stride == 1) {
        auto const load_two = [&](int k) {
            return join(load<V2f>(src + walk.get_index(k)), load<V2f>(src + walk.get_index(k + 1)));
        };
        a = load_row<W>(load_two, 0);
        b = load_row<W>(load_two, 2);
        separate<W>(a, b);
    } else {
        for (int k = 0; k < W; ++k) {
            float const* const frame = src + walk.get_index(k) * stride;
            a[k] = frame[0];
            b[k] = frame[stride];
        }
    }
    store(dest, a + walk.get_frac() * (b - a));
}

template <int W>
[[gnu::always_inline]] inline void process_2(float* dest, long dest_stride, float const* src,
                                             long stride, Walk<W> const& walk) {
    auto const load_pair = [&](int k) {
        float const* const frame = src + walk.get_index(k) * stride;
        return stride == 2 ? load<V4f>(frame) : join(load<V2f>(frame), load<V2f>(frame + stride));
    };
    auto const [left, right, next_left, next_right] =
        transpose<W>({load_row<W>(load_pair, 0), load_row<W>(load_pair, 1),
                      load_row<W>(load_pair, 2), load_row<W>(load_pair, 3)});
    auto const frac = walk.get_frac();
    store(dest, left + frac * (next_left - left));
    store(dest + dest_stride, right + frac * (next_right - right));
}

template <int W>
[[gnu::always_inline]] inline void process_4(float* dest, long dest_stride, float const* src,
                                             long stride, Walk<W> const& walk) {
    auto const frac = walk.get_frac();
    auto const interpolate = [&](int k) {
        float const* const frame = src + walk.get_index(k) * stride;
        V4f const a = load<V4f>(frame);
        return a + frac[k] * (load<V4f>(frame + stride) - a);
    };
    auto const [a, b, c, d] =
        transpose<W>({load_row<W>(interpolate, 0), load_row<W>(interpolate, 1),
                      load_row<W>(interpolate, 2), load_row<W>(interpolate, 3)});
    store(dest, a);
    store(dest + dest_stride, b);
    store(dest + 2 * dest_stride, c);
    store(dest + 3 * dest_stride, d);
}

// NBR channels over all output frames, W at a time. STRIDE is the frame length if it is known at
// compile time, otherwise 0.
template <int NBR, int STRIDE, int W>
void process_chn(float* dest, long dest_stride, float const* src, long stride, long nbr_spl,
                 archi::UInt64 pos, archi::UInt64 step) {
    if constexpr (STRIDE != 0) {
        stride = STRIDE;
    }
    long i = 0;
    for (Walk<W> walk(pos, step); i + W <= nbr_spl; i += W) {
        if constexpr (NBR == 1) {
            process_1<W>(dest + i, src, stride, walk);
        } else if constexpr (NBR == 2) {
            process_2<W>(dest + i, dest_stride, src, stride, walk);
        } else {
            process_4<W>(dest + i, dest_stride, src, stride, walk);
        }
        walk.move();
    }
    pos += step * static_cast<archi::UInt64>(i);
    if constexpr (W > 4) {
        process_chn<NBR, STRIDE, 4>(dest + i, dest_stride, src, stride, nbr_spl - i, pos, step);
        return;
    }
    for (; i < nbr_spl; ++i, pos += step) {
        float const* const frame = src + (static_cast<archi::Int64>(pos) >> 32) * stride;
        float const frac = scale_frac(static_cast<float>(static_cast<int>((pos >> 16) & 0xFFFF)),
                                      static_cast<float>(static_cast<int>(pos & 0xFFFF)));
        for (int chn = 0; chn < NBR; ++chn) {
            float const a = frame[chn];
            dest[i + chn * dest_stride] = a + frac * (frame[stride + chn] - a);
        }
    }
}

template <int W>
void process_all(float* dest, long dest_stride, float const* src, int nbr_chn, long nbr_spl,
                 archi::UInt64 pos, archi::UInt64 step) {
    if (nbr_chn == 1) {
        process_chn<1, 1, W>(dest, dest_stride, src, 1, nbr_spl, pos, step);
        return;
    }
    if (nbr_chn == 2) {
        process_chn<2, 2, W>(dest, dest_stride, src, 2, nbr_spl, pos, step);
        return;
    }
    int chn = 0;
    for (; chn + 4 <= nbr_chn; chn += 4) {
        process_chn<4, 0, W>(dest + chn * dest_stride, dest_stride, src + chn, nbr_chn, nbr_spl,
                             pos, step);
    }
    if (nbr_chn - chn >= 2) {
        process_chn<2, 0, W>(dest + chn * dest_stride, dest_stride, src + chn, nbr_chn, nbr_spl,
                             pos, step);
        chn += 2;
    }
    if (chn < nbr_chn) {
        process_chn<1, 0, W>(dest + chn * dest_stride, dest_stride, src + chn, nbr_chn, nbr_spl,
                             pos, step);
    }
}

} // namespace

} // namespace ulk::ace::baplug::rspl
