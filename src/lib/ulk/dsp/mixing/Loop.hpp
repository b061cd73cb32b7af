#pragma once

#include "ulk/dsp/mixing/Frame.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

// The loops behind the block routines. A routine is what it does with a frame:
//     op(levels, frame of the first source, ...) -> frame of the destination
// and runs on a frame of floats, or of vectors, alike.

namespace ulk::dsp::mixing {

// What becomes of the result.
struct Copy {
    template <class Dst, template <class> class Frame, class V>
    static void put(Dst const& dst, long i, Frame<V> x) {
        dst.put(i, x);
    }
};
struct Mix {
    template <class Dst, template <class> class Frame, class V>
    static void put(Dst const& dst, long i, Frame<V> x) {
        dst.put(i, dst.template get<V>(i) + x);
    }
};

// The operations on a frame.
struct Plain {
    auto operator()(auto, auto x) const { return x; }
};
struct Gain {
    auto operator()(auto level, auto x) const { return x * level.a; }
};
struct Spread {
    auto operator()(auto level, auto x) const { return Two{x.a * level.a, x.a * level.b}; }
};
struct Xfade {
    auto operator()(auto level, auto x) const { return One{x.a + (x.b - x.a) * level.a}; }
};
struct Matrix { // levels in the order of StereoLevel
    auto operator()(auto level, auto x) const {
        return Two{x.a * level.a + x.b * level.c, x.a * level.b + x.b * level.d};
    }
};
struct Product {
    auto operator()(auto, auto x, auto y) const { return x * y; }
};
struct Fill {
    auto operator()(auto level) const { return level; }
};
struct AddCst {
    auto operator()(auto level, auto x) const { return x + level; }
};
struct LinOp {
    auto operator()(auto level, auto x) const { return One{level.a * x.a + level.b}; }
};
struct AddSub {
    auto operator()(auto, auto x) const { return Two{x.a + x.b, x.a - x.b}; }
};

// What a ramp adds at each frame. The matrix multiplies by a reciprocal, and rounds accordingly.
template <template <class> class Levels>
Levels<float> find_step(Levels<float> beg, Levels<float> end, long nbr_spl) {
    auto const len = static_cast<float>(nbr_spl);
    return map([len](float x) { return x / len; }, end - beg);
}
inline Four<float> find_step(Four<float> beg, Four<float> end, long nbr_spl) {
    return (end - beg) * (1.0f / static_cast<float>(nbr_spl));
}

constexpr long VECT_LEN = 4;

// What turns a step a frame into the levels of a vector, and into its step a vector.
struct VectCst {
    alignas(16) static constexpr float _cst_0123[VECT_LEN] = {0, 1, 2, 3};
    alignas(16) static constexpr float _cst_4444[VECT_LEN] = {4, 4, 4, 4};
};

// How many times the rounded addition of the step adds the same amount, from this level on. Floats
// of one exponent are evenly spaced: as long as the exponent stays, every addition rounds the step
// to the same multiple of their distance, unless the step lies midway between two (it then goes to
// the even one, which differs from level to level). So all levels on the line, and the products
// that lead to them, are exact. Ranges next to denormals, infinities and NaN have no line.
inline int find_line(float level, float step) {
    constexpr std::int32_t mantissa_max = (1 << 23) - 1;
    auto const beg = std::bit_cast<std::int32_t>(level);
    auto const next = std::bit_cast<std::int32_t>(level + step);
    std::int32_t const exponent = (beg >> 23) & 0xFF;
    if ((beg >> 23) != (next >> 23) || exponent < 64 || exponent == 0xFF) {
        return 0;
    }
    float const distance = std::bit_cast<float>(beg ^ 1) - level;
    float const lost = step - ((level + step) - level);
    if (std::abs(lost) * 2 == std::abs(distance)) {
        return 0;
    }
    std::int32_t const slope = next - beg; // in distances, away from zero
    std::int32_t const mantissa = beg & mantissa_max;
    if (slope == 0) {
        return mantissa_max;
    }
    return slope > 0 ? (mantissa_max - mantissa) / slope : (mantissa - 1) / -slope;
}
template <template <class> class Levels>
int find_line(Levels<float> level, Levels<float> step) {
    return least(map([](float l, float s) { return find_line(l, s); }, level, step));
}

// Below this length a chain of additions is faster than looking for a line; it takes as long for
// each level as a chain of all of them.
template <class Levels>
constexpr int LINE_MIN = 16 * sizeof(Levels) / sizeof(float);

// Frames left to scalar code, those behind the last whole vector.
template <bool VECT_FLAG>
long find_tail(long nbr_spl) {
    return VECT_FLAG ? nbr_spl & (VECT_LEN - 1) : nbr_spl;
}

// Calls fnc for each frame. Frames don't depend on each other, so that the compiler may take
// several at a time; it needn't look whether the buffers overlap.
template <class Index, class F>
void run_frames(Index nbr_spl, F fnc) {
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC ivdep
#pragma GCC unroll 2
#endif
    for (Index i = 0; i < nbr_spl; ++i) {
        fnc(i);
    }
}

template <bool VECT_FLAG, class Mode, class Op, class Levels, class Dst, class... Src>
void run_const(Dst dst, long nbr_spl, Op op, Levels level, Src... src) {
    long const tail = find_tail<VECT_FLAG>(nbr_spl);
    long pos = 0;
    if constexpr (VECT_FLAG) {
        auto const level_vect = splat(level);
#pragma GCC unroll 2
        for (; pos < nbr_spl - tail; pos += VECT_LEN) {
            Mode::put(dst, pos, op(level_vect, src.template get<Vect>(pos)...));
        }
    }
    run_frames(tail, [=](long i) {
        Mode::put(dst, pos + i, op(level, src.template get<float>(pos + i)...));
    });
}

// The chain of additions, from a level reached to the end; returns the level behind the last frame.
template <class Mode, class Op, class Levels, class Dst, class... Src>
Levels run_chain(Dst dst, long pos, long nbr_spl, Op op, Levels level, Levels step, Src... src) {
    for (long i = pos; i < pos + nbr_spl; ++i) {
        Mode::put(dst, i, op(level, src.template get<float>(i)...));
        level = level + step;
    }
    return level;
}

// The same bits as run_chain() gives, but faster where the chain goes through straight lines: on
// them a level is the product of a position, and frames don't depend on each other.
template <class Mode, class Op, class Levels, class Dst, class... Src>
void run_lines(Dst dst, long nbr_spl, Op op, Levels level, Levels step, Src... src) {
    for (long pos = 0; pos < nbr_spl;) {
        long const rest = nbr_spl - pos;
        int const line = rest < LINE_MIN<Levels> ? 0 : find_line(level, step);
        if (line < LINE_MIN<Levels>) {
            long const chain_len = std::min<long>(rest, LINE_MIN<Levels>);
            level = run_chain<Mode>(dst, pos, chain_len, op, level, step, src...);
            pos += chain_len;
            continue;
        }
        int const len = static_cast<int>(std::min<long>(rest, line));
        Levels const slope = (level + step) - level;
        run_frames(len, [=](int i) {
            Levels const level_i = level + slope * static_cast<float>(i);
            Mode::put(dst, pos + i, op(level_i, src.template get<float>(pos + i)...));
        });
        level = level + slope * static_cast<float>(len);
        pos += len;
    }
}

// A level is the sum of a chain of additions, one a frame or one a vector, and its rounding is part
// of the result. The frames behind the last vector go on from the level reached, with a step of
// their own.
template <bool VECT_FLAG, class Mode, class Op, class Levels, class Dst, class... Src>
void run_ramp(Dst dst, long nbr_spl, Op op, Levels beg, Levels end, Src... src) {
    if constexpr (VECT_FLAG) {
        using MemOp = archi::Vect128MemOpAlign;
        auto const step = splat(find_step(beg, end, nbr_spl));
        auto const step_vect = step * MemOp::load(VectCst::_cst_4444);
        auto level = splat(beg) + step * MemOp::load(VectCst::_cst_0123);
        long const tail = find_tail<VECT_FLAG>(nbr_spl);
#pragma GCC unroll 2
        for (long pos = 0; pos < nbr_spl - tail; pos += VECT_LEN) {
            Mode::put(dst, pos, op(level, src.template get<Vect>(pos)...));
            level = level + step_vect;
        }
        if (tail > 0) {
            Levels const reached = lane_0(level);
            Levels const tail_step = find_step(reached, end, tail);
            run_chain<Mode>(dst, nbr_spl - tail, tail, op, reached, tail_step, src...);
        }
    } else {
        run_lines<Mode>(dst, nbr_spl, op, beg, find_step(beg, end, nbr_spl), src...);
    }
}

} // namespace ulk::dsp::mixing
