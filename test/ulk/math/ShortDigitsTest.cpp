#include "ulk/math/ShortDigits.h"

#include "support/ExactDigits.h"
#include "ulk/math/FloatMultiPrecPrint.h"
#include "ulk/math/Pow10Table.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

using test::ExactDigits;
using ulk::math::FloatMultiPrecPrint;
using ulk::math::Pow10Table;
using ulk::math::ShortDigits;

namespace {

// Number of random values; the environment asks for a longer run.
long get_count(long by_default) {
    char const* const txt = std::getenv("TESSITONE_TEST_COUNT");
    return txt != nullptr ? std::atol(txt) : by_default;
}

double take_bits(std::uint64_t bits) {
    return std::bit_cast<double>(bits);
}

// Positive finite values of all classes: any bits, denormals, integers, short decimals, values
// next to powers of two and of ten, and few significant bits.
double draw(std::mt19937_64& rnd) {
    constexpr std::uint64_t max_bits = (std::uint64_t(0x7FF) << 52) - 1;
    auto const any = rnd() % max_bits + 1;
    double val = 0;
    switch (rnd() % 8) {
    case 0:
        val = take_bits(rnd() >> 12 >> rnd() % 52);
        break;
    case 1:
        val = static_cast<double>(rnd() >> rnd() % 64);
        break;
    case 2:
        val = static_cast<double>(rnd() % 100000) / std::pow(10.0, double(rnd() % 12));
        break;
    case 3:
        val = take_bits((any >> 52 << 52) + rnd() % 5 - 2);
        break;
    case 4:
        val = take_bits(std::bit_cast<std::uint64_t>(std::pow(10.0, double(rnd() % 600) - 300)) +
                        rnd() % 5 - 2);
        break;
    case 5:
        val = take_bits(any >> 48 << 48);
        break;
    default:
        val = take_bits(any);
        break;
    }
    return std::isfinite(val) && val > 0 ? val : take_bits(any);
}

std::string get_text(ShortDigits const& digits) {
    return std::string(digits.get_digits(), std::size_t(digits.get_len()));
}

void check_exact(double val, int base) {
    ShortDigits digits;
    digits.set(val, base);
    auto const exact = ExactDigits::find(val, base);
    ASSERT_EQ(exact.digits, get_text(digits)) << std::hexfloat << val << " in base " << base;
    ASSERT_EQ(exact.exp, digits.get_exp()) << std::hexfloat << val << " in base " << base;
    ASSERT_EQ(exact.exp, ShortDigits::compute_exp(val, base)) << std::hexfloat << val;
}

void check_multi_prec(double val, int base) {
    int exp2 = 0;
    FloatMultiPrecPrint<4> gen;
    gen._value.from_dbl(val);
    gen._mantissa_bits = long(std::bit_width(ExactDigits::split(val, exp2)));
    gen._base = base;
    gen.prepare();
    gen.start();
    std::string txt;
    for (;; gen.iterate_internal()) {
        ASSERT_LE(0, gen._digit);
        ASSERT_LT(gen._digit, base) << std::hexfloat << val;
        txt += "0123456789ABCDEF"[gen._digit];
        if (gen._end_flag) {
            break;
        }
        ASSERT_GT(60u, txt.size()) << std::hexfloat << val;
    }
    EXPECT_EQ(static_cast<long>(txt.size()), gen._position);
    ShortDigits digits;
    digits.set(val, base);
    ASSERT_EQ(txt, get_text(digits)) << std::hexfloat << val << " in base " << base;
    ASSERT_EQ(gen._exponent_count - 1, digits.get_exp()) << std::hexfloat << val;
}

void check_half(double val, int base, long power) {
    ASSERT_EQ(ExactDigits::add_half_unit(val, base, power),
              ShortDigits::add_half_unit(val, base, power))
        << std::hexfloat << val << " in base " << base << " at " << power;
}

int const base_arr[] = {2, 10, 16};

} // namespace

TEST(ShortDigitsTest, KnownDigits) {
    struct Row {
        double val;
        char const* digits;
        int exp;
    };
    for (auto const& row : {Row{0.1, "1", -1}, Row{1, "1", 0}, Row{10, "1", 1}, Row{0.5, "5", -1},
                            Row{5e-324, "5", -324}, Row{7e22, "70000000000000004", 22},
                            Row{1e24, "1", 24}, Row{9.999999999999999e22, "9999999999999999", 22},
                            Row{std::numeric_limits<double>::max(), "17976931348623157", 308}}) {
        ShortDigits digits;
        digits.set(row.val, 10);
        EXPECT_EQ(row.digits, get_text(digits));
        EXPECT_EQ(row.exp, digits.get_exp());
        check_exact(row.val, 10);
        check_multi_prec(row.val, 10);
    }
}

TEST(ShortDigitsTest, AllPowersOfTwoAndTheirNeighbours) {
    for (int exp2 = -1074; exp2 <= 1023; ++exp2) {
        double const val = std::ldexp(1.0, exp2);
        for (double const near : {std::nextafter(val, 0.0), val, std::nextafter(val, HUGE_VAL)}) {
            if (near > 0) {
                for (int const base : base_arr) {
                    ASSERT_NO_FATAL_FAILURE(check_exact(near, base));
                }
            }
        }
        ASSERT_NO_FATAL_FAILURE(check_multi_prec(val, 10));
    }
}

TEST(ShortDigitsTest, AllPowersOfTenAndTheirNeighbours) {
    for (int exp = -323; exp <= 308; ++exp) {
        double const val = std::strtod(("1e" + std::to_string(exp)).c_str(), nullptr);
        for (double const near : {std::nextafter(val, 0.0), val, std::nextafter(val, HUGE_VAL)}) {
            ASSERT_NO_FATAL_FAILURE(check_exact(near, 10));
            ASSERT_NO_FATAL_FAILURE(check_multi_prec(near, 10));
        }
    }
}

TEST(ShortDigitsTest, RandomValuesAgainstExactModel) {
    std::mt19937_64 rnd(1);
    for (long i = get_count(300000); i > 0; --i) {
        ASSERT_NO_FATAL_FAILURE(check_exact(draw(rnd), base_arr[i % 8 < 6        ? 1
                                                                : i % 8 - 6 == 0 ? 0
                                                                                 : 2]));
    }
}

TEST(ShortDigitsTest, RandomValuesAgainstMultiPrec) {
    std::mt19937_64 rnd(2);
    for (long i = get_count(300000) / 20; i > 0; --i) {
        ASSERT_NO_FATAL_FAILURE(check_multi_prec(draw(rnd), base_arr[i % 8 < 6        ? 1
                                                                     : i % 8 - 6 == 0 ? 0
                                                                                      : 2]));
    }
}

TEST(ShortDigitsTest, ReadsBack) {
    std::mt19937_64 rnd(3);
    for (long i = get_count(300000); i > 0; --i) {
        double const val = draw(rnd);
        ShortDigits digits;
        digits.set(val, 10);
        auto const txt = "0." + get_text(digits) + "e" + std::to_string(digits.get_exp() + 1);
        double const back = std::strtod(txt.c_str(), nullptr);
        // The lower neighbour of a power of two is closer than the bounds allow for.
        int exp2 = 0;
        bool const pow2_flag = std::has_single_bit(ExactDigits::split(val, exp2));
        ASSERT_TRUE(back == val || (pow2_flag && back == std::nextafter(val, 0.0))) << txt;
    }
}

TEST(ShortDigitsTest, HalfUnits) {
    std::mt19937_64 rnd(4);
    long const min_arr[] = {-340, -1080, -270};
    for (long i = get_count(300000) / 3; i > 0; --i) {
        double const val = draw(rnd);
        int const which = rnd() % 4 != 0 ? 0 : int(rnd() % 2) + 1;
        int const base = which == 0 ? 10 : which == 1 ? 2 : 16;
        long const exp = ShortDigits::compute_exp(val, base);
        // Mostly within the digits of the value, else anywhere below its first digit
        long const below = rnd() % 3 != 0 ? long(rnd() % 20) : long(rnd() % 700);
        long const power =
            std::max(rnd() % 8 != 0 ? exp - below : -long(rnd() % 40), min_arr[which]);
        if (power <= std::max(exp, 0L)) {
            ASSERT_NO_FATAL_FAILURE(check_half(val, base, power));
        }
    }
}

TEST(ShortDigitsTest, HalfUnitsAtTheLimits) {
    double const max = std::numeric_limits<double>::max();
    double const min = std::numeric_limits<double>::denorm_min();
    EXPECT_EQ(max, ShortDigits::add_half_unit(max, 10, 308)); // out of range: as it was
    EXPECT_EQ(min, ShortDigits::add_half_unit(min, 10, -1000000000000));
    EXPECT_EQ(min, ShortDigits::add_half_unit(min, 10, -324));
    EXPECT_EQ(2 * min, ShortDigits::add_half_unit(min, 2, -1074)); // a tie, to even
    EXPECT_EQ(2 * min, ShortDigits::add_half_unit(2 * min, 2, -1074));
    EXPECT_EQ(min, ShortDigits::add_half_unit(min, 2, -1075));
    for (int const base : base_arr) {
        for (long power = -260; power <= 0; ++power) {
            ASSERT_NO_FATAL_FAILURE(check_half(min, base, power));
            ASSERT_NO_FATAL_FAILURE(check_half(1e-290, base, power));
        }
    }
}

// Each entry is multiplied out with the one before it, and holds the top 128 bits.
TEST(Pow10TableTest, Entries) {
    for (int p = Pow10Table::MIN_POW; p <= Pow10Table::MAX_POW; ++p) {
        auto const& g = Pow10Table::get(p);
        test::BigNat num(1), den(1), cut(g.hi);
        cut.shift_left(64);
        cut += test::BigNat(g.lo);
        num.mul_pow(10, std::max(p, 0));
        den.mul_pow(10, std::max(-p, 0));
        int const exp = Pow10Table::get_exp(p);
        (exp < 0 ? num : den).shift_left(std::abs(exp));
        auto const mul_den = [&](test::BigNat factor) { // factor has 128 bits
            test::BigNat prod;
            for (int bit = 128; bit >= 0; --bit) {
                prod.mul(2);
                test::BigNat top(1);
                top.shift_left(bit);
                if (factor.compare(top) >= 0) {
                    factor -= top;
                    prod += den;
                }
            }
            return prod;
        };
        EXPECT_NE(0u, g.hi >> 63);
        EXPECT_NE(~0ull, g.lo);
        int const order = mul_den(cut).compare(num);
        EXPECT_EQ(Pow10Table::is_exact(p) ? 0 : -1, order) << p;
        cut += test::BigNat(1);
        EXPECT_EQ(1, mul_den(cut).compare(num)) << p;
    }
}
