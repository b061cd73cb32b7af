#pragma once

#include "ulk/dsp/mixing/Frame.hpp"

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

// Frames left to scalar code, those behind the last whole vector.
template <bool VECT_FLAG>
long find_tail(long nbr_spl) {
    return VECT_FLAG ? nbr_spl & (VECT_LEN - 1) : nbr_spl;
}

// Frames don't depend on each other, so that the compiler may take several at a time; it needn't
// look whether the buffers overlap.
template <bool VECT_FLAG, class Mode, class Op, class Levels, class Dst, class... Src>
void run_const(Dst dst, long nbr_spl, Op op, Levels level, Src... src) {
    long const tail = find_tail<VECT_FLAG>(nbr_spl);
    long pos = 0;
    if constexpr (VECT_FLAG) {
        auto const level_vect = splat(level);
        for (; pos < nbr_spl - tail; pos += VECT_LEN) {
            Mode::put(dst, pos, op(level_vect, src.template get<Vect>(pos)...));
        }
    }
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC ivdep
#endif
    for (long i = 0; i < tail; ++i) {
        Mode::put(dst, pos + i, op(level, src.template get<float>(pos + i)...));
    }
}

// The levels are a chain of additions, one a frame or one a vector, and stay it: the sum's rounding
// is part of the result. The tail goes on from the level reached, with a step of its own.
template <bool VECT_FLAG, class Mode, class Op, class Levels, class Dst, class... Src>
void run_ramp(Dst dst, long nbr_spl, Op op, Levels beg, Levels end, Src... src) {
    long const tail = find_tail<VECT_FLAG>(nbr_spl);
    long pos = 0;
    Levels level = beg;
    if constexpr (VECT_FLAG) {
        using MemOp = archi::Vect128MemOpAlign;
        auto const step = splat(find_step(beg, end, nbr_spl));
        auto const step_vect = step * MemOp::load(VectCst::_cst_4444);
        auto level_vect = splat(beg) + step * MemOp::load(VectCst::_cst_0123);
        for (; pos < nbr_spl - tail; pos += VECT_LEN) {
            Mode::put(dst, pos, op(level_vect, src.template get<Vect>(pos)...));
            level_vect = level_vect + step_vect;
        }
        level = lane_0(level_vect);
    }
    if (tail > 0) {
        auto const step = find_step(level, end, tail);
        for (long i = 0; i < tail; ++i) {
            Mode::put(dst, pos + i, op(level, src.template get<float>(pos + i)...));
            level = level + step;
        }
    }
}

} // namespace ulk::dsp::mixing
