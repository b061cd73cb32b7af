#pragma once

#include "ulk/dsp/BasicMixingList.h"
#include "ulk/dsp/mixing/Loop.hpp"

#include <cstring>
#include <type_traits>

namespace ulk::dsp::mixing {

// The block routines that have a vector form, by name (see BasicMixingList.h). MemOpDst and
// MemOpSrc tell how vectors of destinations and sources are loaded and stored; with void, the
// routines are scalar. All of them are real-time.
template <class MemOpDst, class MemOpSrc>
class Forms {
public:
    using D = MixDst;
    using S = MixSrc;

    static void scale_1_v(D d, long n, float v) {
        if (!is_unity(v)) {
            level<Copy, Gain>(To1{d}, n, One{v}, To1{d});
        }
    }
    static void scale_1_vlr(D d, long n, float a, float b) {
        ramp<Copy, Gain>(To1{d}, n, One{a}, One{b}, To1{d});
    }
    static void scale_1_vlrauto(D d, long n, float a, float b) {
        a == b ? scale_1_v(d, n, a) : scale_1_vlr(d, n, a, b);
    }

    static void scale_2_v(D d0, D d1, long n, float v) {
        if (!is_unity(v)) {
            level<Copy, Gain>(To2{d0, d1}, n, One{v}, To2{d0, d1});
        }
    }
    static void scale_2_vlr(D d0, D d1, long n, float a, float b) {
        ramp<Copy, Gain>(To2{d0, d1}, n, One{a}, One{b}, To2{d0, d1});
    }
    static void scale_2_vlrauto(D d0, D d1, long n, float a, float b) {
        a == b ? scale_2_v(d0, d1, n, a) : scale_2_vlr(d0, d1, n, a, b);
    }

    static void copy_1_1(D d, S s, long n) { move(d, s, n); }
    static void copy_1_1_v(D d, S s, long n, float v) {
        is_unity(v) ? copy_1_1(d, s, n) : level<Copy, Gain>(To1{d}, n, One{v}, From1{s});
    }
    static void copy_1_1_vlr(D d, S s, long n, float a, float b) {
        ramp<Copy, Gain>(To1{d}, n, One{a}, One{b}, From1{s});
    }
    static void copy_1_1_vlrauto(D d, S s, long n, float a, float b) {
        a == b ? copy_1_1_v(d, s, n, a) : copy_1_1_vlr(d, s, n, a, b);
    }

    static void copy_1_2(D d0, D d1, S s, long n) { copy_2_2(d0, d1, s, s, n); }
    static void copy_1_2_v(D d0, D d1, S s, long n, float v) {
        is_unity(v) ? copy_1_2(d0, d1, s, n) : level<Copy, Gain>(To2{d0, d1}, n, One{v}, From1{s});
    }
    static void copy_1_2_vlr(D d0, D d1, S s, long n, float a, float b) {
        ramp<Copy, Gain>(To2{d0, d1}, n, One{a}, One{b}, From1{s});
    }
    static void copy_1_2_vlrauto(D d0, D d1, S s, long n, float a, float b) {
        a == b ? copy_1_2_v(d0, d1, s, n, a) : copy_1_2_vlr(d0, d1, s, n, a, b);
    }

    static void copy_2_1(D d, S s0, S s1, long n) { plain<Copy>(To1{d}, n, Sum{From2{s0, s1}}); }
    static void copy_2_1_v(D d, S s0, S s1, long n, float v) {
        is_unity(v) ? copy_2_1(d, s0, s1, n)
                    : level<Copy, Gain>(To1{d}, n, One{v}, Sum{From2{s0, s1}});
    }
    static void copy_2_1_vlr(D d, S s0, S s1, long n, float a, float b) {
        ramp<Copy, Gain>(To1{d}, n, One{a}, One{b}, Sum{From2{s0, s1}});
    }
    static void copy_2_1_vlrauto(D d, S s0, S s1, long n, float a, float b) {
        a == b ? copy_2_1_v(d, s0, s1, n, a) : copy_2_1_vlr(d, s0, s1, n, a, b);
    }

    static void copy_2_2(D d0, D d1, S s0, S s1, long n) {
        if (n < MOVE_MIN) {
            plain<Copy>(To2{d0, d1}, n, From2{s0, s1});
        } else {
            move(d0, s0, n);
            move(d1, s1, n);
        }
    }
    static void copy_2_2_v(D d0, D d1, S s0, S s1, long n, float v) {
        is_unity(v) ? copy_2_2(d0, d1, s0, s1, n)
                    : level<Copy, Gain>(To2{d0, d1}, n, One{v}, From2{s0, s1});
    }
    static void copy_2_2_vlr(D d0, D d1, S s0, S s1, long n, float a, float b) {
        ramp<Copy, Gain>(To2{d0, d1}, n, One{a}, One{b}, From2{s0, s1});
    }
    static void copy_2_2_vlrauto(D d0, D d1, S s0, S s1, long n, float a, float b) {
        a == b ? copy_2_2_v(d0, d1, s0, s1, n, a) : copy_2_2_vlr(d0, d1, s0, s1, n, a, b);
    }

    static void copy_1_2i(D d, S s, long n) { plain<Copy>(To2i{d}, n, From1{s}); }
    static void copy_1_2i_v(D d, S s, long n, float v) {
        is_unity(v) ? copy_1_2i(d, s, n) : level<Copy, Gain>(To2i{d}, n, One{v}, From1{s});
    }
    static void copy_1_2i_vlr(D d, S s, long n, float a, float b) {
        ramp<Copy, Gain>(To2i{d}, n, One{a}, One{b}, From1{s});
    }
    static void copy_1_2i_vlrauto(D d, S s, long n, float a, float b) {
        a == b ? copy_1_2i_v(d, s, n, a) : copy_1_2i_vlr(d, s, n, a, b);
    }

    static void copy_2_2i(D d, S s0, S s1, long n) { plain<Copy>(To2i{d}, n, From2{s0, s1}); }
    static void copy_2_2i_v(D d, S s0, S s1, long n, float v) {
        is_unity(v) ? copy_2_2i(d, s0, s1, n)
                    : level<Copy, Gain>(To2i{d}, n, One{v}, From2{s0, s1});
    }
    static void copy_2_2i_vlr(D d, S s0, S s1, long n, float a, float b) {
        ramp<Copy, Gain>(To2i{d}, n, One{a}, One{b}, From2{s0, s1});
    }
    static void copy_2_2i_vlrauto(D d, S s0, S s1, long n, float a, float b) {
        a == b ? copy_2_2i_v(d, s0, s1, n, a) : copy_2_2i_vlr(d, s0, s1, n, a, b);
    }

    static void copy_2i_1(D d, S s, long n) { plain<Copy>(To1{d}, n, Sum{From2i{s}}); }
    static void copy_2i_1_v(D d, S s, long n, float v) {
        is_unity(v) ? copy_2i_1(d, s, n) : level<Copy, Gain>(To1{d}, n, One{v}, Sum{From2i{s}});
    }
    static void copy_2i_1_vlr(D d, S s, long n, float a, float b) {
        ramp<Copy, Gain>(To1{d}, n, One{a}, One{b}, Sum{From2i{s}});
    }
    static void copy_2i_1_vlrauto(D d, S s, long n, float a, float b) {
        a == b ? copy_2i_1_v(d, s, n, a) : copy_2i_1_vlr(d, s, n, a, b);
    }

    static void copy_2i_2(D d0, D d1, S s, long n) { plain<Copy>(To2{d0, d1}, n, From2i{s}); }
    static void copy_2i_2_v(D d0, D d1, S s, long n, float v) {
        is_unity(v) ? copy_2i_2(d0, d1, s, n)
                    : level<Copy, Gain>(To2{d0, d1}, n, One{v}, From2i{s});
    }
    static void copy_2i_2_vlr(D d0, D d1, S s, long n, float a, float b) {
        ramp<Copy, Gain>(To2{d0, d1}, n, One{a}, One{b}, From2i{s});
    }
    static void copy_2i_2_vlrauto(D d0, D d1, S s, long n, float a, float b) {
        a == b ? copy_2i_2_v(d0, d1, s, n, a) : copy_2i_2_vlr(d0, d1, s, n, a, b);
    }

    static void mix_1_1(D d, S s, long n) { plain<Mix>(To1{d}, n, From1{s}); }
    static void mix_1_1_v(D d, S s, long n, float v) {
        is_unity(v) ? mix_1_1(d, s, n) : level<Mix, Gain>(To1{d}, n, One{v}, From1{s});
    }
    static void mix_1_1_vlr(D d, S s, long n, float a, float b) {
        ramp<Mix, Gain>(To1{d}, n, One{a}, One{b}, From1{s});
    }
    static void mix_1_1_vlrauto(D d, S s, long n, float a, float b) {
        a == b ? mix_1_1_v(d, s, n, a) : mix_1_1_vlr(d, s, n, a, b);
    }

    static void mix_1_2(D d0, D d1, S s, long n) { plain<Mix>(To2{d0, d1}, n, From1{s}); }
    static void mix_1_2_v(D d0, D d1, S s, long n, float v) {
        is_unity(v) ? mix_1_2(d0, d1, s, n) : level<Mix, Gain>(To2{d0, d1}, n, One{v}, From1{s});
    }
    static void mix_1_2_vlr(D d0, D d1, S s, long n, float a, float b) {
        ramp<Mix, Gain>(To2{d0, d1}, n, One{a}, One{b}, From1{s});
    }
    static void mix_1_2_vlrauto(D d0, D d1, S s, long n, float a, float b) {
        a == b ? mix_1_2_v(d0, d1, s, n, a) : mix_1_2_vlr(d0, d1, s, n, a, b);
    }

    static void mix_2_1(D d, S s0, S s1, long n) { plain<Mix>(To1{d}, n, Sum{From2{s0, s1}}); }
    static void mix_2_1_v(D d, S s0, S s1, long n, float v) {
        is_unity(v) ? mix_2_1(d, s0, s1, n)
                    : level<Mix, Gain>(To1{d}, n, One{v}, Sum{From2{s0, s1}});
    }
    static void mix_2_1_vlr(D d, S s0, S s1, long n, float a, float b) {
        ramp<Mix, Gain>(To1{d}, n, One{a}, One{b}, Sum{From2{s0, s1}});
    }
    static void mix_2_1_vlrauto(D d, S s0, S s1, long n, float a, float b) {
        a == b ? mix_2_1_v(d, s0, s1, n, a) : mix_2_1_vlr(d, s0, s1, n, a, b);
    }

    static void mix_2_2(D d0, D d1, S s0, S s1, long n) {
        plain<Mix>(To2{d0, d1}, n, From2{s0, s1});
    }
    static void mix_2_2_v(D d0, D d1, S s0, S s1, long n, float v) {
        is_unity(v) ? mix_2_2(d0, d1, s0, s1, n)
                    : level<Mix, Gain>(To2{d0, d1}, n, One{v}, From2{s0, s1});
    }
    static void mix_2_2_vlr(D d0, D d1, S s0, S s1, long n, float a, float b) {
        ramp<Mix, Gain>(To2{d0, d1}, n, One{a}, One{b}, From2{s0, s1});
    }
    static void mix_2_2_vlrauto(D d0, D d1, S s0, S s1, long n, float a, float b) {
        a == b ? mix_2_2_v(d0, d1, s0, s1, n, a) : mix_2_2_vlr(d0, d1, s0, s1, n, a, b);
    }

    static void mix_1_2i(D d, S s, long n) { plain<Mix>(To2i{d}, n, From1{s}); }
    static void mix_1_2i_v(D d, S s, long n, float v) {
        is_unity(v) ? mix_1_2i(d, s, n) : level<Mix, Gain>(To2i{d}, n, One{v}, From1{s});
    }
    static void mix_1_2i_vlr(D d, S s, long n, float a, float b) {
        ramp<Mix, Gain>(To2i{d}, n, One{a}, One{b}, From1{s});
    }
    static void mix_1_2i_vlrauto(D d, S s, long n, float a, float b) {
        a == b ? mix_1_2i_v(d, s, n, a) : mix_1_2i_vlr(d, s, n, a, b);
    }

    static void mix_2_2i(D d, S s0, S s1, long n) { plain<Mix>(To2i{d}, n, From2{s0, s1}); }
    static void mix_2_2i_v(D d, S s0, S s1, long n, float v) {
        is_unity(v) ? mix_2_2i(d, s0, s1, n) : level<Mix, Gain>(To2i{d}, n, One{v}, From2{s0, s1});
    }
    static void mix_2_2i_vlr(D d, S s0, S s1, long n, float a, float b) {
        ramp<Mix, Gain>(To2i{d}, n, One{a}, One{b}, From2{s0, s1});
    }
    static void mix_2_2i_vlrauto(D d, S s0, S s1, long n, float a, float b) {
        a == b ? mix_2_2i_v(d, s0, s1, n, a) : mix_2_2i_vlr(d, s0, s1, n, a, b);
    }

    static void mix_2i_1(D d, S s, long n) { plain<Mix>(To1{d}, n, Sum{From2i{s}}); }
    static void mix_2i_1_v(D d, S s, long n, float v) {
        is_unity(v) ? mix_2i_1(d, s, n) : level<Mix, Gain>(To1{d}, n, One{v}, Sum{From2i{s}});
    }
    static void mix_2i_1_vlr(D d, S s, long n, float a, float b) {
        ramp<Mix, Gain>(To1{d}, n, One{a}, One{b}, Sum{From2i{s}});
    }
    static void mix_2i_1_vlrauto(D d, S s, long n, float a, float b) {
        a == b ? mix_2i_1_v(d, s, n, a) : mix_2i_1_vlr(d, s, n, a, b);
    }

    static void mix_2i_2(D d0, D d1, S s, long n) { plain<Mix>(To2{d0, d1}, n, From2i{s}); }
    static void mix_2i_2_v(D d0, D d1, S s, long n, float v) {
        is_unity(v) ? mix_2i_2(d0, d1, s, n) : level<Mix, Gain>(To2{d0, d1}, n, One{v}, From2i{s});
    }
    static void mix_2i_2_vlr(D d0, D d1, S s, long n, float a, float b) {
        ramp<Mix, Gain>(To2{d0, d1}, n, One{a}, One{b}, From2i{s});
    }
    static void mix_2i_2_vlrauto(D d0, D d1, S s, long n, float a, float b) {
        a == b ? mix_2i_2_v(d0, d1, s, n, a) : mix_2i_2_vlr(d0, d1, s, n, a, b);
    }

    static void copy_spread_1_2_v(D d0, D d1, S s, long n, float v0, float v1) {
        level<Copy, Spread>(To2{d0, d1}, n, Two{v0, v1}, From1{s});
    }
    static void copy_spread_1_2_vlr(D d0, D d1, S s, long n, float a0, float a1, float b0,
                                    float b1) {
        ramp<Copy, Spread>(To2{d0, d1}, n, Two{a0, a1}, Two{b0, b1}, From1{s});
    }
    static void copy_spread_1_2_vlrauto(D d0, D d1, S s, long n, float a0, float a1, float b0,
                                        float b1) {
        is_equal(a0, a1, b0, b1) ? copy_spread_1_2_v(d0, d1, s, n, a0, a1)
                                 : copy_spread_1_2_vlr(d0, d1, s, n, a0, a1, b0, b1);
    }

    static void mix_spread_1_2_v(D d0, D d1, S s, long n, float v0, float v1) {
        level<Mix, Spread>(To2{d0, d1}, n, Two{v0, v1}, From1{s});
    }
    static void mix_spread_1_2_vlr(D d0, D d1, S s, long n, float a0, float a1, float b0,
                                   float b1) {
        ramp<Mix, Spread>(To2{d0, d1}, n, Two{a0, a1}, Two{b0, b1}, From1{s});
    }
    static void mix_spread_1_2_vlrauto(D d0, D d1, S s, long n, float a0, float a1, float b0,
                                       float b1) {
        is_equal(a0, a1, b0, b1) ? mix_spread_1_2_v(d0, d1, s, n, a0, a1)
                                 : mix_spread_1_2_vlr(d0, d1, s, n, a0, a1, b0, b1);
    }

    static void copy_xfade_2_1_v(D d, S s0, S s1, long n, float x) {
        level<Copy, Xfade>(To1{d}, n, One{x}, From2{s0, s1});
    }
    static void copy_xfade_2_1_vlr(D d, S s0, S s1, long n, float a, float b) {
        ramp<Copy, Xfade>(To1{d}, n, One{a}, One{b}, From2{s0, s1});
    }
    static void copy_xfade_2_1_vlrauto(D d, S s0, S s1, long n, float a, float b) {
        a == b ? copy_xfade_2_1_v(d, s0, s1, n, a) : copy_xfade_2_1_vlr(d, s0, s1, n, a, b);
    }

    static void copy_mat_2_2_v(D d0, D d1, S s0, S s1, long n, StereoLevel const& v) {
        level<Copy, Matrix>(To2{d0, d1}, n, gains(v), From2{s0, s1});
    }
    static void copy_mat_2_2_vlr(D d0, D d1, S s0, S s1, long n, StereoLevel const& a,
                                 StereoLevel const& b) {
        ramp<Copy, Matrix>(To2{d0, d1}, n, gains(a), gains(b), From2{s0, s1});
    }
    static void copy_mat_2_2_vlrauto(D d0, D d1, S s0, S s1, long n, StereoLevel const& a,
                                     StereoLevel const& b) {
        is_equal(a, b) ? copy_mat_2_2_v(d0, d1, s0, s1, n, a)
                       : copy_mat_2_2_vlr(d0, d1, s0, s1, n, a, b);
    }

    static void mix_mat_2_2_v(D d0, D d1, S s0, S s1, long n, StereoLevel const& v) {
        level<Mix, Matrix>(To2{d0, d1}, n, gains(v), From2{s0, s1});
    }
    static void mix_mat_2_2_vlr(D d0, D d1, S s0, S s1, long n, StereoLevel const& a,
                                StereoLevel const& b) {
        ramp<Mix, Matrix>(To2{d0, d1}, n, gains(a), gains(b), From2{s0, s1});
    }
    static void mix_mat_2_2_vlrauto(D d0, D d1, S s0, S s1, long n, StereoLevel const& a,
                                    StereoLevel const& b) {
        is_equal(a, b) ? mix_mat_2_2_v(d0, d1, s0, s1, n, a)
                       : mix_mat_2_2_vlr(d0, d1, s0, s1, n, a, b);
    }

    static void copy_4_4i(D d, S s0, S s1, S s2, S s3, long n) {
        plain<Copy>(To4i{d}, n, From4{s0, s1, s2, s3});
    }
    static void copy_2_4i2(D d, S s0, S s1, long n) { plain<Copy>(To4i2{d}, n, From2{s0, s1}); }
    static void copy_4i_1(D d, S s, long n) { plain<Copy>(To1{d}, n, Sum{From4i{s}}); }
    static void copy_4i_4(D d0, D d1, D d2, D d3, S s, long n) {
        plain<Copy>(To4{d0, d1, d2, d3}, n, From4i{s});
    }
    static void copy_4i2_2(D d0, D d1, S s, long n) { plain<Copy>(To2{d0, d1}, n, From4i2{s}); }

    static void mult_1_1(D d, S s0, S s1, long n) {
        each<Product>(To1{d}, n, From1{s0}, From1{s1});
    }
    static void mult_ip_1_1(D d, S s, long n) { each<Product>(To1{d}, n, To1{d}, From1{s}); }
    static void mult_ip_1_2(D d0, D d1, S s, long n) {
        each<Product>(To2{d0, d1}, n, To2{d0, d1}, From2{s, s});
    }
    static void mult_ip_2_2(D d0, D d1, S s0, S s1, long n) {
        each<Product>(To2{d0, d1}, n, To2{d0, d1}, From2{s0, s1});
    }

    static void clear(D d, long n) {
        if (n > 0) {
            std::memset(d, 0, static_cast<std::size_t>(n) * sizeof(float));
        }
    }
    static void fill(D d, long n, float v) { level<Copy, Fill>(To1{d}, n, One{v}); }
    static void fill_lr(D d, long n, float a, float b) {
        ramp<Copy, Fill>(To1{d}, n, One{a}, One{b});
    }
    static void fill_lrauto(D d, long n, float a, float b) {
        a == b ? fill(d, n, a) : fill_lr(d, n, a, b);
    }

    static void add_cst_1_1(D d, long n, float c) {
        level<Copy, AddCst>(To1{d}, n, One{c}, To1{d});
    }
    static void add_cst_1_2(D d0, D d1, long n, float c) {
        level<Copy, AddCst>(To2{d0, d1}, n, One{c}, To2{d0, d1});
    }
    static void linop_cst_1_1(D d, S s, long n, float a, float b) {
        level<Copy, LinOp>(To1{d}, n, Two{a, b}, From1{s});
    }
    static void linop_cst_ip_1(D d, long n, float a, float b) {
        level<Copy, LinOp>(To1{d}, n, Two{a, b}, To1{d});
    }
    static void add_sub_ip_2_2(D d0, D d1, long n) { each<AddSub>(To2{d0, d1}, n, To2{d0, d1}); }

private:
    using To1 = Separate1<MemOpDst, D>;
    using To2 = Separate2<MemOpDst, D>;
    using To4 = Separate4<MemOpDst, D>;
    using To2i = Interleaved2<MemOpDst, D>;
    using To4i = Interleaved4<MemOpDst, D>;
    using To4i2 = Interleaved4Live2<D>;
    using From1 = Separate1<MemOpSrc, S>;
    using From2 = Separate2<MemOpSrc, S>;
    using From4 = Separate4<MemOpSrc, S>;
    using From2i = Interleaved2<MemOpSrc, S>;
    using From4i = Interleaved4<MemOpSrc, S>;
    using From4i2 = Interleaved4Live2<S>;

    static constexpr bool VECT_FLAG = !std::is_void_v<MemOpDst>;

    // A scalar product by 1.0 is left out, so that every bit of the source comes through.
    static bool is_unity(float level) { return !VECT_FLAG && level == 1.0f; }

    // From here on, two calls of the library's copy are faster than one loop.
    static constexpr long MOVE_MIN = 48;

    static void move(D d, S s, long n) {
        if (n > 0) {
            std::memmove(d, s, static_cast<std::size_t>(n) * sizeof(float));
        }
    }
    static Four<float> gains(StereoLevel const& level) {
        return {level.ll, level.lr, level.rl, level.rr};
    }
    static bool is_equal(float a0, float a1, float b0, float b1) { return a0 == b0 && a1 == b1; }
    static bool is_equal(StereoLevel const& l, StereoLevel const& r) {
        return l.ll == r.ll && l.lr == r.lr && l.rl == r.rl && l.rr == r.rr;
    }

    template <class Mode, class Dst, class Src>
    static void plain(Dst dst, long n, Src src) {
        level<Mode, Plain>(dst, n, One{1.0f}, src);
    }
    template <class Op, class Dst, class... Src>
    static void each(Dst dst, long n, Src... src) {
        level<Copy, Op>(dst, n, One{1.0f}, src...);
    }
    template <class Mode, class Op, class Dst, class Levels, class... Src>
    static void level(Dst dst, long n, Levels val, Src... src) {
        run_const<VECT_FLAG, Mode>(dst, n, Op{}, val, src...);
    }
    template <class Mode, class Op, class Dst, class Levels, class... Src>
    static void ramp(Dst dst, long n, Levels beg, Levels end, Src... src) {
        run_ramp<VECT_FLAG, Mode>(dst, n, Op{}, beg, end, src...);
    }
};

} // namespace ulk::dsp::mixing
