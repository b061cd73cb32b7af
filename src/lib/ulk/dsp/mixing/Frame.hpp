#pragma once

#include "ulk/archi/Vect128MemOpAlign.h"

#include <algorithm>
#include <type_traits>

// What the block routines compute with: the channels of a frame, and buffers that give and take
// them. V is float for one frame at a time, or Vect for the same channel of four frames in a row.

namespace ulk::dsp::mixing {

using Vect = archi::Vect128MemOpAlign::Vect;

template <class V>
struct One {
    V a;
};
template <class V>
struct Two {
    V a, b;
};
template <class V>
struct Four {
    V a, b, c, d;
};
template <class V>
One(V) -> One<V>;
template <class V>
Two(V, V) -> Two<V>;
template <class V>
Four(V, V, V, V) -> Four<V>;

template <class F, class... V>
auto map(F fnc, One<V>... x) {
    return One{fnc(x.a...)};
}
template <class F, class... V>
auto map(F fnc, Two<V>... x) {
    return Two{fnc(x.a...), fnc(x.b...)};
}
template <class F, class... V>
auto map(F fnc, Four<V>... x) {
    return Four{fnc(x.a...), fnc(x.b...), fnc(x.c...), fnc(x.d...)};
}

template <template <class> class Frame, class V>
Frame<V> operator+(Frame<V> l, Frame<V> r) {
    return map([](V a, V b) { return a + b; }, l, r);
}
template <template <class> class Frame, class V>
Frame<V> operator-(Frame<V> l, Frame<V> r) {
    return map([](V a, V b) { return a - b; }, l, r);
}
template <template <class> class Frame, class V>
Frame<V> operator*(Frame<V> l, Frame<V> r) {
    return map([](V a, V b) { return a * b; }, l, r);
}
template <template <class> class Frame, class V>
Frame<V> operator*(Frame<V> l, std::type_identity_t<V> r) {
    return map([r](V a) { return a * r; }, l);
}
template <class V>
Two<V> operator+(Two<V> l, One<V> r) {
    return {l.a + r.a, l.b + r.a};
}

template <class V>
One<V> sum(Two<V> x) {
    return {x.a + x.b};
}
template <class V>
One<V> sum(Four<V> x) {
    return {x.a + x.b + x.c + x.d};
}

template <class V>
V least(One<V> x) {
    return x.a;
}
template <class V>
V least(Two<V> x) {
    return std::min(x.a, x.b);
}
template <class V>
V least(Four<V> x) {
    return std::min({x.a, x.b, x.c, x.d});
}

template <class Frame>
auto splat(Frame x) {
    return map([](float v) { return Vect{v, v, v, v}; }, x);
}
template <class Frame>
auto lane_0(Frame x) {
    return map([](Vect v) { return v[0]; }, x);
}

template <int... LANE>
Vect shuffle(Vect l, Vect r) {
    return __builtin_shufflevector(l, r, LANE...);
}

// Half a vector, for frames of which only two floats may be touched. Moved as a double, never
// computed with.
using Half = double __attribute__((may_alias, aligned(4)));
using Halves = double __attribute__((vector_size(16)));

inline Vect load_halves(float const* lo, float const* hi) {
    auto const bits =
        Halves{*reinterpret_cast<Half const*>(lo), *reinterpret_cast<Half const*>(hi)};
    return reinterpret_cast<Vect>(bits);
}
inline void store_halves(float* lo, float* hi, Vect x) {
    auto const bits = reinterpret_cast<Halves>(x);
    *reinterpret_cast<Half*>(lo) = bits[0];
    *reinterpret_cast<Half*>(hi) = bits[1];
}

template <class V>
Four<V> transpose(Four<V> x) {
    Vect const ab_lo = shuffle<0, 4, 1, 5>(x.a, x.b);
    Vect const ab_hi = shuffle<2, 6, 3, 7>(x.a, x.b);
    Vect const cd_lo = shuffle<0, 4, 1, 5>(x.c, x.d);
    Vect const cd_hi = shuffle<2, 6, 3, 7>(x.c, x.d);
    return {shuffle<0, 1, 4, 5>(ab_lo, cd_lo), shuffle<2, 3, 6, 7>(ab_lo, cd_lo),
            shuffle<0, 1, 4, 5>(ab_hi, cd_hi), shuffle<2, 3, 6, 7>(ab_hi, cd_hi)};
}

// How a V goes to and from memory. MemOp is the policy for vectors, void where there are none.
template <class MemOp>
struct Mem {
    template <class V>
    static V load(float const* ptr) {
        if constexpr (std::is_same_v<V, float>) {
            return *ptr;
        } else {
            return MemOp::load(ptr);
        }
    }
    static void store(float* ptr, float x) { *ptr = x; }
    static void store(float* ptr, Vect x) { MemOp::store(ptr, x); }
};
template <>
inline void Mem<void>::store(float*, Vect) = delete;

// Buffers. get() reads and put() writes the frames from index i on; Ptr is a pointer to float,
// const for a source. A single channel put to two of them goes to both.
template <class MemOp, class Ptr>
struct Separate1 {
    Ptr p;

    template <class V>
    One<V> get(long i) const {
        return {Mem<MemOp>::template load<V>(p + i)};
    }
    template <class V>
    void put(long i, One<V> x) const {
        Mem<MemOp>::store(p + i, x.a);
    }
};

template <class MemOp, class Ptr>
struct Separate2 {
    Ptr p0, p1;

    template <class V>
    Two<V> get(long i) const {
        return {Mem<MemOp>::template load<V>(p0 + i), Mem<MemOp>::template load<V>(p1 + i)};
    }
    template <class V>
    void put(long i, Two<V> x) const {
        Mem<MemOp>::store(p0 + i, x.a);
        Mem<MemOp>::store(p1 + i, x.b);
    }
    template <class V>
    void put(long i, One<V> x) const {
        put(i, Two{x.a, x.a});
    }
};

template <class MemOp, class Ptr>
struct Separate4 {
    Ptr p0, p1, p2, p3;

    template <class V>
    Four<V> get(long i) const {
        using M = Mem<MemOp>;
        return {M::template load<V>(p0 + i), M::template load<V>(p1 + i),
                M::template load<V>(p2 + i), M::template load<V>(p3 + i)};
    }
    template <class V>
    void put(long i, Four<V> x) const {
        Mem<MemOp>::store(p0 + i, x.a);
        Mem<MemOp>::store(p1 + i, x.b);
        Mem<MemOp>::store(p2 + i, x.c);
        Mem<MemOp>::store(p3 + i, x.d);
    }
};

template <class MemOp, class Ptr>
struct Interleaved2 {
    Ptr p;

    template <class V>
    Two<V> get(long i) const {
        if constexpr (std::is_same_v<V, float>) {
            return {p[2 * i], p[2 * i + 1]};
        } else {
            Vect const lo = MemOp::load(p + 2 * i);
            Vect const hi = MemOp::load(p + 2 * i + 4);
            return {shuffle<0, 2, 4, 6>(lo, hi), shuffle<1, 3, 5, 7>(lo, hi)};
        }
    }
    void put(long i, Two<float> x) const {
        p[2 * i] = x.a;
        p[2 * i + 1] = x.b;
    }
    void put(long i, Two<Vect> x) const {
        MemOp::store(p + 2 * i, shuffle<0, 4, 1, 5>(x.a, x.b));
        MemOp::store(p + 2 * i + 4, shuffle<2, 6, 3, 7>(x.a, x.b));
    }
    template <class V>
    void put(long i, One<V> x) const {
        put(i, Two{x.a, x.a});
    }
};

template <class MemOp, class Ptr>
struct Interleaved4 {
    Ptr p;

    template <class V>
    Four<V> get(long i) const {
        Separate4<MemOp, Ptr> const rows{p + 4 * i, p + 4 * i + 4, p + 4 * i + 8, p + 4 * i + 12};
        if constexpr (std::is_same_v<V, float>) {
            return {p[4 * i], p[4 * i + 1], p[4 * i + 2], p[4 * i + 3]};
        } else {
            return transpose(rows.template get<V>(0));
        }
    }
    void put(long i, Four<float> x) const {
        p[4 * i] = x.a;
        p[4 * i + 1] = x.b;
        p[4 * i + 2] = x.c;
        p[4 * i + 3] = x.d;
    }
    void put(long i, Four<Vect> x) const {
        Separate4<MemOp, Ptr> const rows{p + 4 * i, p + 4 * i + 4, p + 4 * i + 8, p + 4 * i + 12};
        rows.put(0, transpose(x));
    }
};

// Frames of four floats, of which the last two are neither read nor written.
template <class Ptr>
struct Interleaved4Live2 {
    Ptr p;

    template <class V>
    Two<V> get(long i) const {
        if constexpr (std::is_same_v<V, float>) {
            return {p[4 * i], p[4 * i + 1]};
        } else {
            Vect const lo = load_halves(p + 4 * i, p + 4 * i + 4);
            Vect const hi = load_halves(p + 4 * i + 8, p + 4 * i + 12);
            return {shuffle<0, 2, 4, 6>(lo, hi), shuffle<1, 3, 5, 7>(lo, hi)};
        }
    }
    void put(long i, Two<float> x) const {
        p[4 * i] = x.a;
        p[4 * i + 1] = x.b;
    }
    void put(long i, Two<Vect> x) const {
        store_halves(p + 4 * i, p + 4 * i + 4, shuffle<0, 4, 1, 5>(x.a, x.b));
        store_halves(p + 4 * i + 8, p + 4 * i + 12, shuffle<2, 6, 3, 7>(x.a, x.b));
    }
};

// The sum of a source's channels.
template <class Src>
struct Sum {
    Src src;

    template <class V>
    One<V> get(long i) const {
        return sum(src.template get<V>(i));
    }
};
template <class Src>
Sum(Src) -> Sum<Src>;

} // namespace ulk::dsp::mixing
