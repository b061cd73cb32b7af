#include "ulk/math/cst.h"
#include "ulk/math/ApproxSse.h"
#include "ulk/math/CstSse.h"

#include <bit>
#include <cmath>
#include <cstdint>

namespace {

using ulk::math::ApproxSse;
using ulk::math::CstSse;

template <class T>
void check_vect(T const (&vect)[4], T a, T b, T c, T d) {
    T const expected[4] = {a, b, c, d};
    EXPECT_EQ(std::memcmp(vect, expected, sizeof(expected)), 0);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&vect) % 16, 0U);
}

template <class T>
void check_splat(T const (&vect)[4], T val) {
    check_vect(vect, val, val, val, val);
}

void check_bits(float const (&vect)[4], unsigned int bits) {
    check_splat(vect, std::bit_cast<float>(bits));
}

TEST(CstTest, ScalarsAreExact) {
    EXPECT_EQ(ulk::math::LOG2_E, std::log2(std::exp(1.0)));
    EXPECT_EQ(ulk::math::LOG2_10, std::log2(10.0));
    EXPECT_EQ(ulk::math::TWOPM32, std::ldexp(1.0, -32));
}

TEST(CstTest, VectorsOfNumbers) {
    check_splat(CstSse::_zero, 0.0f);
    check_splat(CstSse::_one, 1.0f);
    check_splat(CstSse::_one_neg, -1.0f);
    check_splat(CstSse::_half, 0.5f);
    check_splat(CstSse::_half_neg, -0.5f);
    check_splat(CstSse::_int_magic, 8388608.0f);
    check_vect(CstSse::_lerp_beg_0, 0.0f, 0.25f, 0.5f, 0.75f);
    check_vect(CstSse::_lerp_end_1, 0.25f, 0.5f, 0.75f, 1.0f);
}

TEST(CstTest, VectorsOfBits) {
    check_bits(CstSse::_mask_full, 0xFFFFFFFF);
    check_bits(CstSse::_mask_abs, 0x7FFFFFFF);
    check_bits(CstSse::_mask_sign, 0x80000000);
    check_bits(CstSse::_mask_exponent, 0x7F800000);
    check_bits(CstSse::_mask_mantissa, 0x007FFFFF);
    check_bits(CstSse::_exponent_bias, 0x3F800000);
    for (int row = 0; row < 4; ++row) {
        for (int lane = 0; lane < 4; ++lane) {
            unsigned int const bits =
                std::bit_cast<unsigned int>(CstSse::_mask_vect_part[row][lane]);
            EXPECT_EQ(bits, lane < row ? 0xFFFFFFFF : 0U);
        }
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(CstSse::_mask_vect_part[row]) % 16, 0U);
    }
}

TEST(CstTest, ApproximationCoefficients) {
    check_splat(ApproxSse::_log2_sub, 128);
    check_splat(ApproxSse::_log2_coef_a, -0.3333333432674408f);
    check_splat(ApproxSse::_log2_coef_b, 2.0f);
    check_splat(ApproxSse::_log2_coef_c, -0.6666666865348816f);
    check_splat(ApproxSse::_exp2_add, 127);
    check_splat(ApproxSse::_exp2_coef_a, 0.3333333432674408f);
    check_splat(ApproxSse::_exp2_coef_b, 0.6666666865348816f);
    check_splat(ApproxSse::_exp2_coef_c, 1.0f);
    check_splat(ApproxSse::_tanh_o6_coef_a, 0.05003809556365013f);
    check_splat(ApproxSse::_tanh_o6_coef_b, 0.13246694207191467f);
    check_splat(ApproxSse::_tanh_o6_coef_c, 0.3333927094936371f);
    check_splat(ApproxSse::_tanh_o6_coef_d, 0.6666649580001831f);
}

TEST(CstTest, TangentCoefficientsAreASeries) {
    for (double x = 0; x < 0.5; x += 0.01) {
        double const series =
            ((ApproxSse::_tan_coef_a[0] * x * x + ApproxSse::_tan_coef_b[1]) * x * x +
             ApproxSse::_tan_coef_c[2]) *
            x;
        EXPECT_NEAR(series, std::tan(x), 0.06 * std::pow(x, 7) + 1e-8);
    }
    check_splat(ApproxSse::_tan_coef_a, ApproxSse::_tan_coef_a[0]);
    check_splat(ApproxSse::_tan_coef_b, ApproxSse::_tan_coef_b[0]);
    check_splat(ApproxSse::_tan_coef_c, ApproxSse::_tan_coef_c[0]);
}

} // namespace
