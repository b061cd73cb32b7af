#include "ulk/math/FloatMultiPrec.h"
#include "ulk/math/FloatMultiPrecPrint.h"
#include "ulk/math/IntMultiPrec.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <utility>

using Float = ulk::math::FloatMultiPrec<4>;

namespace {

Float make(double val) {
    Float res;
    res.from_dbl(val);
    return res;
}

double draw(std::mt19937_64& rnd) {
    for (;;) {
        double const val = std::bit_cast<double>(rnd());
        if (std::isfinite(val)) {
            return val;
        }
    }
}

// A value of moderate size, so that results stay in the range of a double
double draw_mid(std::mt19937_64& rnd) {
    return std::ldexp(double(std::int64_t(rnd()) >> 11), int(rnd() % 120) - 90);
}

} // namespace

TEST(FloatMultiPrecTest, DoublesGoThere) {
    std::mt19937_64 rnd(1);
    EXPECT_EQ(0.0, Float().to_dbl());
    for (int i = 0; i < 20000; ++i) {
        double const val =
            i % 4 != 0 ? draw(rnd) : std::bit_cast<double>(rnd() >> 12 >> rnd() % 52);
        ASSERT_EQ(val, make(val).to_dbl());
    }
    for (double const val : {std::numeric_limits<double>::max(), -5e-324, std::ldexp(1.0, 1023)}) {
        EXPECT_EQ(val, make(val).to_dbl());
    }
    EXPECT_EQ(-7.0, Float(-7).to_dbl());
    EXPECT_EQ(-2147483648.0, Float(std::numeric_limits<int>::min()).to_dbl());
}

TEST(FloatMultiPrecTest, NonFiniteThrows) {
    double const inf = std::numeric_limits<double>::infinity();
    for (double const val : {inf, -inf, std::numeric_limits<double>::quiet_NaN()}) {
        try {
            make(val);
            FAIL();
        } catch (std::runtime_error const& e) {
            EXPECT_STREQ("ulk::math::FloatMultiPrec::from_dbl(): provided data is NaN", e.what());
        }
    }
}

TEST(FloatMultiPrecTest, SumsAndProductsRoundAsInHardware) {
    std::mt19937_64 rnd(2);
    for (int i = 0; i < 20000; ++i) {
        double const a = draw_mid(rnd);
        double const b = draw_mid(rnd);
        Float sum = make(a);
        sum += make(b);
        ASSERT_EQ(a + b, sum.to_dbl()) << a << " " << b;
        sum -= make(b);
        sum -= make(a);
        ASSERT_LE(std::abs(sum.to_dbl()), std::ldexp(std::abs(a) + std::abs(b), -80));
        Float prod = make(a);
        prod *= make(b);
        ASSERT_EQ(a * b, prod.to_dbl()) << a << " " << b;
        if (b != 0) {
            Float quot = make(a);
            quot /= make(b);
            ASSERT_EQ(a / b, quot.to_dbl()) << a << " " << b;
        }
    }
}

TEST(FloatMultiPrecTest, TiesGoToEven) {
    double const ulp = std::ldexp(1.0, -52);
    for (double const odd : {1.0, 1.0 + ulp}) {
        Float val = make(odd);
        val += make(ulp / 2);
        EXPECT_EQ(odd + (odd > 1 ? ulp : 0), val.to_dbl());
        val += make(std::ldexp(1.0, -80));
        EXPECT_EQ(odd + ulp, val.to_dbl());
    }
    Float tiny = make(5e-324);
    tiny.scale2_int(-1);
    EXPECT_EQ(0.0, tiny.to_dbl());
    tiny *= Float(3);
    EXPECT_EQ(1e-323, tiny.to_dbl());
}

TEST(FloatMultiPrecTest, Range) {
    Float val = make(std::numeric_limits<double>::max());
    val *= Float(-2);
    EXPECT_EQ(-HUGE_VAL, val.to_dbl());
    val.scale2_int(-1);
    EXPECT_EQ(-std::numeric_limits<double>::max(), val.to_dbl());
    Float low(1);
    low.scale2_int(-2000000000);
    EXPECT_EQ(0.0, low.to_dbl());
    EXPECT_FALSE(low.is_zero());
    low.scale2_int(-147483620); // one limb below the lowest exponent
    EXPECT_TRUE(low.is_zero());
}

TEST(FloatMultiPrecTest, ScalesByPowersOfTwo) {
    Float half(1);
    half.scale2_int(-1);
    EXPECT_EQ(0.5, half.to_dbl());
    std::mt19937_64 rnd(3);
    for (int i = 0; i < 5000; ++i) {
        double const a = draw_mid(rnd);
        int const power = int(rnd() % 400) - 200;
        Float val = make(a);
        val.scale2_int(power);
        ASSERT_EQ(std::ldexp(a, power), val.to_dbl());
    }
}

TEST(FloatMultiPrecTest, Reciprocals) {
    Float one(3);
    one.recip();
    one *= Float(3);
    one -= Float(1);
    EXPECT_LE(std::abs(one.to_dbl()), std::ldexp(1.0, -84 + 2)); // the last limb
    for (double const val : {5e-324, 1e-310, 1e300, std::numeric_limits<double>::max(), -4.0}) {
        Float prod = make(val);
        prod.recip();
        prod *= make(val);
        prod -= Float(1);
        EXPECT_LE(std::abs(prod.to_dbl()), std::ldexp(1.0, -80));
    }
}

TEST(FloatMultiPrecTest, Floor) {
    std::mt19937_64 rnd(4);
    for (int i = 0; i < 10000; ++i) {
        double const a = draw_mid(rnd);
        Float val = make(a);
        val.floor();
        ASSERT_EQ(std::floor(a), val.to_dbl()) << a;
    }
    for (double const a : {0.0, 0.25, -0.25, 1.0, -1.0, -1e-300, 1e-300, 1e300}) {
        Float val = make(a);
        val.floor();
        EXPECT_EQ(std::floor(a), val.to_dbl()) << a;
    }
}

TEST(FloatMultiPrecTest, Log2) {
    std::mt19937_64 rnd(5);
    for (int i = 0; i < 2000; ++i) {
        double const a = std::abs(draw(rnd));
        Float val = make(a);
        val.log2();
        ASSERT_NEAR(std::log2(a), val.to_dbl(), 1e-12);
    }
    Float eight(8);
    eight.log2();
    EXPECT_EQ(3.0, eight.to_dbl());
    // log2 (10) beyond a double: the rest is 1.661617516973592e-16
    Float ten(10);
    ten.log2();
    ten -= make(3.321928094887362);
    EXPECT_NEAR(1.661617516973592e-16, ten.to_dbl(), std::ldexp(1.0, -84));
}

TEST(IntMultiPrecTest, ProductTellsItsShift) {
    ulk::math::IntMultiPrec<4> zero;
    ulk::math::IntMultiPrec<4> other;
    EXPECT_EQ(4, zero.mul_normalise(other, true));
    zero.shift_right(0, true);
    zero.shift_right(1000, true);
    EXPECT_EQ(4, zero.mul_normalise(other, false));
}

TEST(FloatMultiPrecPrintTest, LowerBoundIsNearerOnlyBelowTheLastBitItself) {
    auto const find_bounds = [](double val, long mantissa_bits) {
        ulk::math::FloatMultiPrecPrint<4> print;
        print._value.from_dbl(val);
        print._mantissa_bits = mantissa_bits;
        print.prepare();
        return std::pair(print._low_bound.to_dbl(), print._high_bound.to_dbl());
    };
    EXPECT_EQ(std::pair(1.5, 3.0), find_bounds(2.0, 1));
    EXPECT_EQ(std::pair(2.0, 4.0), find_bounds(3.0, 1)); // more than one bit of its own
    EXPECT_EQ(std::pair(1.5, 2.5), find_bounds(2.0, 2));
    double const half_ulp = std::ldexp(1.0, -53);
    EXPECT_EQ(1.0, find_bounds(1.0, 53).first + half_ulp); // symmetric at a power of two
}
