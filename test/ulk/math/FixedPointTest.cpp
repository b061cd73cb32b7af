#include "ulk/math/FixedPoint.h"

#include "ulk/archi/Fixed3232.h"

#include <cmath>
#include <limits>
#include <type_traits>

namespace {

using ulk::math::FixedPoint;

static_assert(sizeof(FixedPoint) == 8);
static_assert(std::is_same_v<FixedPoint, ulk::archi::Fixed3232>);

TEST(FixedPointTest, PartsLieInOneInteger) {
    EXPECT_EQ(FixedPoint().get_raw(), 0);
    EXPECT_EQ(FixedPoint(1).get_raw(), 1LL << 32);
    EXPECT_EQ(FixedPoint(-1, 0xC0000000U).get_raw(), -(1LL << 30));
    EXPECT_EQ(FixedPoint(5, 7).get_int_part(), 5);
    EXPECT_EQ(FixedPoint(5, 7).get_frac(), 7U);
    EXPECT_EQ(FixedPoint(-5, 0xFFFFFFFFU).get_int_part(), -5);
    EXPECT_EQ(FixedPoint(-5, 0xFFFFFFFFU).get_frac(), 0xFFFFFFFFU);
}

TEST(FixedPointTest, FromDoubleTakesTheFloor) {
    EXPECT_EQ(FixedPoint::from_double(1.0), FixedPoint(1));
    EXPECT_EQ(FixedPoint::from_double(-0.25), FixedPoint(-1, 0xC0000000U));
    EXPECT_EQ(FixedPoint::from_double(0.5), FixedPoint(0, 0x80000000U));
    EXPECT_EQ(FixedPoint::from_double(2.999999999), FixedPoint(2, 4294967291U));
    EXPECT_EQ(FixedPoint::from_double(-1e-20), FixedPoint(-1, 0xFFFFFFFFU));
    EXPECT_EQ(FixedPoint::from_double(1e-20), FixedPoint());
}

TEST(FixedPointTest, FromDoubleStaysInRange) {
    double const inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(FixedPoint::from_double(1e30), FixedPoint(0x7FFFFFFF, 0xFFFFFFFFU));
    EXPECT_EQ(FixedPoint::from_double(inf), FixedPoint(0x7FFFFFFF, 0xFFFFFFFFU));
    EXPECT_EQ(FixedPoint::from_double(-inf).get_int_part(), std::numeric_limits<int>::min());
    EXPECT_EQ(FixedPoint::from_double(std::nan("")), FixedPoint());
}

TEST(FixedPointTest, AdditionIsThatOfTheInteger) {
    std::mt19937_64 rnd(1);
    for (int i = 0; i < 10000; ++i) {
        long long const a = static_cast<long long>(rnd()) >> 2;
        long long const b = static_cast<long long>(rnd()) >> (2 + rnd() % 60);
        FixedPoint x = FixedPoint::from_raw(a);
        ASSERT_EQ((x + FixedPoint::from_raw(b)).get_raw(), a + b);
        ASSERT_EQ((x - FixedPoint::from_raw(b)).get_raw(), a - b);
        ASSERT_EQ(FixedPoint(x.get_int_part(), x.get_frac()), x);
        ASSERT_EQ(FixedPoint::from_raw(a >> 10) * (b % 256),
                  FixedPoint::from_raw((a >> 10) * (b % 256)));
        ASSERT_EQ(x < FixedPoint::from_raw(b), a < b);
        ASSERT_DOUBLE_EQ(x.to_double(), std::ldexp(static_cast<double>(a), -32));
    }
}

TEST(FixedPointTest, WrapsRoundWithoutOverflow) {
    FixedPoint x(0x7FFFFFFF, 0xFFFFFFFFU);
    x += FixedPoint(0, 1);
    EXPECT_EQ(x, FixedPoint(std::numeric_limits<int>::min(), 0));
}

} // namespace
