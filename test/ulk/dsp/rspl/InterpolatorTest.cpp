#include "ulk/dsp/rspl/InterpolatorHermite43.h"
#include "ulk/dsp/rspl/InterpolatorLerp.h"

#include <cmath>

namespace {

using namespace ulk::dsp::rspl;
using ulk::math::FixedPoint;

// Values at -1, 0, 1, 2 and the slopes of the neighbours, in the basis of Hermite's cubics.
double compute_hermite(float const* x, double f) {
    double const m0 = (double(x[2]) - x[0]) / 2;
    double const m1 = (double(x[3]) - x[1]) / 2;
    double const f2 = f * f;
    double const f3 = f2 * f;
    return (2 * f3 - 3 * f2 + 1) * x[1] + (f3 - 2 * f2 + f) * m0 + (3 * f2 - 2 * f3) * x[2] +
           (f3 - f2) * m1;
}

double compute_lerp(float const* x, double f) {
    return x[0] * (1 - f) + x[1] * f;
}

template <class T>
struct Trait;
template <>
struct Trait<InterpolatorLerp> {
    static constexpr int LEN = 2;
    static constexpr int DELAY = 1;
    static double compute(float const* x, double f) { return compute_lerp(x, f); }
};
template <>
struct Trait<InterpolatorHermite43> {
    static constexpr int LEN = 4;
    static constexpr int DELAY = 2;
    static double compute(float const* x, double f) { return compute_hermite(x, f); }
};

template <class T>
class InterpolatorTest : public testing::Test {
protected:
    InterpolatorTest() {
        std::mt19937 rnd(1);
        std::uniform_real_distribution<float> dist(-1, 1);
        for (auto& chn : _src) {
            std::generate(std::begin(chn), std::end(chn), [&] { return dist(rnd); });
        }
    }

    float _src[3][100];
    float const* _src_arr[3] = {_src[0], _src[1], _src[2]};
    float _dest[3 * 400];
    float* _dest_arr[3] = {_dest, _dest + 400, _dest + 800};
};

using Types = testing::Types<InterpolatorLerp, InterpolatorHermite43>;
TYPED_TEST_SUITE(InterpolatorTest, Types);

TYPED_TEST(InterpolatorTest, TellsImpulseAndDelay) {
    TypeParam interp;
    interp.set_ovrspl_l2(3);
    EXPECT_EQ(interp.get_impulse_len(), Trait<TypeParam>::LEN);
    EXPECT_EQ(interp.get_group_delay(), FixedPoint(Trait<TypeParam>::DELAY));
}

TYPED_TEST(InterpolatorTest, FollowsTheModel) {
    constexpr int LEN = Trait<TypeParam>::LEN;
    TypeParam interp;
    InterpolatorInterface& itf = interp;
    std::mt19937_64 rnd(2);
    for (int trial = 0; trial < 3000; ++trial) {
        int const nbr_chn = 1 + static_cast<int>(rnd() % 3);
        long const src_beg = static_cast<long>(rnd() % 5);
        long const src_end = src_beg + static_cast<long>(rnd() % 90);
        long const dest_pos = static_cast<long>(rnd() % 20);
        long const dest_len = static_cast<long>(rnd() % 300);
        FixedPoint const pos_beg(static_cast<int>(rnd() % 40), static_cast<unsigned>(rnd()));
        FixedPoint const rate_beg(static_cast<int>(rnd() % 3), static_cast<unsigned>(rnd()));
        FixedPoint const step =
            FixedPoint::from_raw(static_cast<long long>(rnd()) >> (36 + rnd() % 20));
        std::fill_n(this->_dest, 3 * 400, 9.0f);

        itf.start(nbr_chn);
        FixedPoint pos = pos_beg;
        FixedPoint rate = rate_beg;
        long const made = itf.process_block(this->_dest_arr, this->_src_arr, dest_pos, pos,
                                            dest_len, src_beg, src_end, rate, step);
        long long p = pos_beg.get_raw();
        long long r = rate_beg.get_raw();
        long nbr = 0;
        for (; nbr < dest_len; ++nbr) {
            long const index = static_cast<long>(p >> 32);
            if (index < src_beg || index > src_end - LEN) {
                break;
            }
            double const f = std::ldexp(static_cast<double>(p & 0xFFFFFFFF), -32);
            for (int chn = 0; chn < nbr_chn; ++chn) {
                float& out = this->_dest_arr[chn][dest_pos + nbr];
                ASSERT_NEAR(out, Trait<TypeParam>::compute(this->_src[chn] + index, f), 1e-6);
                out = 9.0f;
            }
            p += r;
            r += step.get_raw();
        }
        ASSERT_EQ(made, nbr);
        ASSERT_EQ(pos.get_raw(), p);
        ASSERT_EQ(rate.get_raw(), r);
        ASSERT_EQ(std::count(this->_dest, this->_dest + 3 * 400, 9.0f), 3 * 400);
    }
}

TYPED_TEST(InterpolatorTest, FractionOfZeroGivesTheFrame) {
    constexpr long LEN = Trait<TypeParam>::LEN;
    TypeParam interp;
    interp.start(1);
    FixedPoint pos, rate = 1;
    EXPECT_EQ(interp.process_block(this->_dest_arr, this->_src_arr, 0, pos, 400, 0, 100, rate, 0),
              101 - LEN);
    for (long i = 0; i < 101 - LEN; ++i) {
        ASSERT_EQ(this->_dest_arr[0][i], this->_src[0][i + LEN / 2 - 1]);
    }
}

TYPED_TEST(InterpolatorTest, RangeShorterThanTheImpulseGivesNothing) {
    TypeParam interp;
    interp.start(1);
    FixedPoint pos, rate = 1;
    EXPECT_EQ(interp.process_block(this->_dest_arr, this->_src_arr, 0, pos, 400, 0,
                                   Trait<TypeParam>::LEN - 1, rate, 0),
              0);
    EXPECT_EQ(pos, FixedPoint());
    EXPECT_EQ(rate, FixedPoint(1));
}

} // namespace
