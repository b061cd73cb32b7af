#include "ulk/ace/baplug/rspl/InterpLin.h"

#include "ulk/math/cst.h"

#include <cstring>

namespace ulk::ace::baplug::rspl {

namespace {

// Vectors of the compiler, which any processor has.
using V2f = float __attribute__((vector_size(8)));
using V4f = float __attribute__((vector_size(16)));
using V4i = archi::Int32 __attribute__((vector_size(16)));
using V4u = archi::UInt32 __attribute__((vector_size(16)));

// Position of four output frames at once.
class Walk {
public:
    Walk(archi::Fixed3232 pos, archi::Int64 step)
        : _pos(pos)
        , _step(archi::Fixed3232::from_raw(step))
        , _frac{pos.get_frac(), (pos + _step).get_frac(), (pos + _step * 2).get_frac(),
                (pos + _step * 3).get_frac()} {}

    long get_index(int k) const { return (_pos + _step * k).get_int_part(); }

    // In two halves, since a vector converts no unsigned integers.
    V4f get_frac() const {
        V4f const hi = __builtin_convertvector(reinterpret_cast<V4i>(_frac >> 16), V4f);
        V4f const lo = __builtin_convertvector(reinterpret_cast<V4i>(_frac & 0xFFFF), V4f);
        return (hi * 65536.0f + lo) * static_cast<float>(math::TWOPM32);
    }

    void move() {
        _pos += _step * 4;
        _frac += (_step * 4).get_frac();
    }

private:
    archi::Fixed3232 _pos;
    archi::Fixed3232 const _step;
    V4u _frac;
};

float conv_frac(archi::Fixed3232 pos) {
    float const hi = static_cast<float>(static_cast<archi::Int32>(pos.get_frac() >> 16));
    float const lo = static_cast<float>(static_cast<archi::Int32>(pos.get_frac() & 0xFFFF));
    return (hi * 65536.0f + lo) * static_cast<float>(math::TWOPM32);
}

template <class V>
V load(float const* src) {
    V val;
    std::memcpy(&val, src, sizeof(val));
    return val;
}

void store(float* dest, V4f val) {
    std::memcpy(dest, &val, sizeof(val));
}

V4f join(V2f lo, V2f hi) {
    return __builtin_shufflevector(lo, hi, 0, 1, 2, 3);
}

// Rows become columns.
void transpose(V4f (&row)[4]) {
    V4f const ab_lo = __builtin_shufflevector(row[0], row[1], 0, 4, 1, 5);
    V4f const ab_hi = __builtin_shufflevector(row[0], row[1], 2, 6, 3, 7);
    V4f const cd_lo = __builtin_shufflevector(row[2], row[3], 0, 4, 1, 5);
    V4f const cd_hi = __builtin_shufflevector(row[2], row[3], 2, 6, 3, 7);
    row[0] = __builtin_shufflevector(ab_lo, cd_lo, 0, 1, 4, 5);
    row[1] = __builtin_shufflevector(ab_lo, cd_lo, 2, 3, 6, 7);
    row[2] = __builtin_shufflevector(ab_hi, cd_hi, 0, 1, 4, 5);
    row[3] = __builtin_shufflevector(ab_hi, cd_hi, 2, 3, 6, 7);
}

// Four output frames of NBR channels, from frames of stride floats.
template <int NBR>
void process_quad(float* dest, long dest_stride, float const* src, long stride, Walk const& walk);

template <>
void process_quad<1>(float* dest, long /*dest_stride*/, float const* src, long stride,
                     Walk const& walk) {
    V4f a;
    V4f b;
    if (stride == 1) {
        V4f const ab = join(load<V2f>(src + walk.get_index(0)), load<V2f>(src + walk.get_index(1)));
        V4f const cd = join(load<V2f>(src + walk.get_index(2)), load<V2f>(src + walk.get_index(3)));
        a = __builtin_shufflevector(ab, cd, 0, 2, 4, 6);
        b = __builtin_shufflevector(ab, cd, 1, 3, 5, 7);
    } else {
        for (int k = 0; k < 4; ++k) {
            float const* const frame = src + walk.get_index(k) * stride;
            a[k] = frame[0];
            b[k] = frame[stride];
        }
    }
    store(dest, a + walk.get_frac() * (b - a));
}

template <>
void process_quad<2>(float* dest, long dest_stride, float const* src, long stride,
                     Walk const& walk) {
    V4f row[4];
    for (int k = 0; k < 4; ++k) {
        float const* const frame = src + walk.get_index(k) * stride;
        row[k] = stride == 2 ? load<V4f>(frame) : join(load<V2f>(frame), load<V2f>(frame + stride));
    }
    transpose(row);
    V4f const frac = walk.get_frac();
    store(dest, row[0] + frac * (row[2] - row[0]));
    store(dest + dest_stride, row[1] + frac * (row[3] - row[1]));
}

template <>
void process_quad<4>(float* dest, long dest_stride, float const* src, long stride,
                     Walk const& walk) {
    V4f row[4];
    V4f const frac = walk.get_frac();
    for (int k = 0; k < 4; ++k) {
        float const* const frame = src + walk.get_index(k) * stride;
        V4f const a = load<V4f>(frame);
        row[k] = a + frac[k] * (load<V4f>(frame + stride) - a);
    }
    transpose(row);
    for (int chn = 0; chn < 4; ++chn) {
        store(dest + chn * dest_stride, row[chn]);
    }
}

// NBR channels over all output frames. STRIDE is the frame length if it is known at compile time,
// otherwise 0.
template <int NBR, int STRIDE>
void process_chn(float* dest, long dest_stride, float const* src, long stride, long nbr_spl,
                 archi::Fixed3232 pos, archi::Int64 step) {
    if constexpr (STRIDE != 0) {
        stride = STRIDE;
    }
    long i = 0;
    for (Walk walk(pos, step); i + 4 <= nbr_spl; i += 4) {
        process_quad<NBR>(dest + i, dest_stride, src, stride, walk);
        walk.move();
    }
    archi::Fixed3232 const delta = archi::Fixed3232::from_raw(step);
    for (pos += delta * i; i < nbr_spl; ++i) {
        float const* const frame = src + pos.get_int_part() * stride;
        float const frac = conv_frac(pos);
        for (int chn = 0; chn < NBR; ++chn) {
            float const a = frame[chn];
            dest[i + chn * dest_stride] = a + frac * (frame[stride + chn] - a);
        }
        pos += delta;
    }
}

} // namespace

void InterpLin::process(float* dest, long dest_stride, float const* src, int nbr_chn, long nbr_spl,
                        archi::Fixed3232& pos, archi::Int64 step) {
    if (nbr_chn == 1) {
        process_chn<1, 1>(dest, dest_stride, src, 1, nbr_spl, pos, step);
    } else if (nbr_chn == 2) {
        process_chn<2, 2>(dest, dest_stride, src, 2, nbr_spl, pos, step);
    } else {
        int chn = 0;
        for (; chn + 4 <= nbr_chn; chn += 4) {
            process_chn<4, 0>(dest + chn * dest_stride, dest_stride, src + chn, nbr_chn, nbr_spl,
                              pos, step);
        }
        if (nbr_chn - chn >= 2) {
            process_chn<2, 0>(dest + chn * dest_stride, dest_stride, src + chn, nbr_chn, nbr_spl,
                              pos, step);
            chn += 2;
        }
        if (chn < nbr_chn) {
            process_chn<1, 0>(dest + chn * dest_stride, dest_stride, src + chn, nbr_chn, nbr_spl,
                              pos, step);
        }
    }
    pos += archi::Fixed3232::from_raw(step) * nbr_spl;
}

} // namespace ulk::ace::baplug::rspl
