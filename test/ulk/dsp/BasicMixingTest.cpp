// What a user of the tables relies on, told by hand; and both tables against each other.

#include "GuardedArea.h"
#include "MixRoutine.h"

#include "ulk/dsp/BasicMixing.h"
#include "ulk/dsp/BasicMixingAlign.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>

namespace {

using ulk::dsp::BasicMixing;
using ulk::dsp::BasicMixingAlign;
using ulk::dsp::MixDst;
using ulk::dsp::MixSrc;
using ulk::dsp::StereoLevel;

static_assert(sizeof(StereoLevel) == 4 * sizeof(float) && std::is_aggregate_v<StereoLevel>);

struct Buf {
    alignas(16) std::array<float, 64> v{};

    Buf() = default;
    Buf(std::initializer_list<float> list) { std::copy(list.begin(), list.end(), v.begin()); }
    operator float*() { return v.data(); }
    std::vector<float> head(std::size_t len) const {
        return {v.begin(), v.begin() + static_cast<std::ptrdiff_t>(len)};
    }
};
using Floats = std::vector<float>;

// Each test runs on one table after the other.
template <class Table>
class BasicMixingTest : public testing::Test {
protected:
    void SetUp() override { Table::setup(); }
};
using Tables = testing::Types<BasicMixing, BasicMixingAlign>;
TYPED_TEST_SUITE(BasicMixingTest, Tables);

TYPED_TEST(BasicMixingTest, ramp_ends_behind_the_last_frame) {
    Buf d;
    Buf s{1, 1, 1, 1};
    TypeParam::mix_1_1_vlr(d, s, 4, 0.0f, 1.0f);
    EXPECT_EQ(d.head(5), Floats({0, 0.25f, 0.5f, 0.75f, 0}));
}

TYPED_TEST(BasicMixingTest, ramp_of_one_frame_has_the_first_level) {
    Buf d;
    Buf s{2, 2};
    TypeParam::copy_1_1_vlr(d, s, 1, 0.5f, 100.0f);
    EXPECT_EQ(d.head(2), Floats({1, 0}));
    TypeParam::fill_lr(d, 1, 3.0f, -7.0f);
    EXPECT_EQ(d.head(2), Floats({3, 0}));
}

TYPED_TEST(BasicMixingTest, consecutive_ramps_join) {
    Buf d;
    TypeParam::fill_lr(d, 8, 0.0f, 0.5f);
    TypeParam::fill_lr(d + 8, 8, 0.5f, 1.0f);
    for (std::size_t i = 0; i < 16; ++i) {
        EXPECT_EQ(d.v[i], static_cast<float>(i) / 16);
    }
}

TYPED_TEST(BasicMixingTest, sums_are_not_halved) {
    Buf d;
    Buf s0{1, -1, 1, 1, 1};
    Buf s1{1, -1, 0.5f, 1, 1};
    TypeParam::copy_2_1(d, s0, s1, 5);
    EXPECT_EQ(d.head(5), Floats({2, -2, 1.5f, 2, 2}));
    TypeParam::mix_2_1_v(d, s0, s1, 5, 0.5f);
    EXPECT_EQ(d.head(5), Floats({3, -3, 2.25f, 3, 3}));
}

TYPED_TEST(BasicMixingTest, interleaves_and_deinterleaves) {
    Buf s0{1, 2, 3, 4, 5};
    Buf s1{-1, -2, -3, -4, -5};
    Buf d;
    TypeParam::copy_2_2i(d, s0, s1, 5);
    EXPECT_EQ(d.head(11), Floats({1, -1, 2, -2, 3, -3, 4, -4, 5, -5, 0}));
    Buf d0;
    Buf d1;
    TypeParam::copy_2i_2(d0, d1, d, 5);
    EXPECT_EQ(d0.v, s0.v);
    EXPECT_EQ(d1.v, s1.v);
    TypeParam::copy_1_2i(d, s0, 5);
    EXPECT_EQ(d.head(11), Floats({1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 0}));
    TypeParam::copy_2i_1(d0, d, 5);
    EXPECT_EQ(d0.head(6), Floats({2, 4, 6, 8, 10, 0}));
}

TYPED_TEST(BasicMixingTest, frames_of_four) {
    Buf s0{1, 2, 3, 4, 5};
    Buf s1{10, 20, 30, 40, 50};
    Buf s2{100, 200, 300, 400, 500};
    Buf s3{-1, -1, -1, -1, -1};
    Buf d;
    TypeParam::copy_4_4i(d, s0, s1, s2, s3, 5);
    EXPECT_EQ(d.head(9), Floats({1, 10, 100, -1, 2, 20, 200, -1, 3}));
    Buf d0;
    Buf d1;
    Buf d2;
    Buf d3;
    TypeParam::copy_4i_4(d0, d1, d2, d3, d, 5);
    EXPECT_TRUE(d0.v == s0.v && d1.v == s1.v && d2.v == s2.v && d3.v == s3.v);
    TypeParam::copy_4i_1(d0, d, 5);
    EXPECT_EQ(d0.head(6), Floats({110, 221, 332, 443, 554, 0}));
}

TYPED_TEST(BasicMixingTest, only_two_lanes_of_four_are_live) {
    Buf s0{1, 2, 3, 4, 5};
    Buf s1{-1, -2, -3, -4, -5};
    Buf d;
    d.v.fill(9);
    TypeParam::copy_2_4i2(d, s0, s1, 5);
    for (std::size_t i = 0; i < 16; ++i) {
        float const live = i % 4 == 0 ? s0.v[i / 4] : s1.v[i / 4];
        EXPECT_EQ(d.v[i], i < 20 && i % 4 < 2 ? live : 9.0f);
    }
    Buf d0;
    Buf d1;
    TypeParam::copy_4i2_2(d0, d1, d, 5);
    EXPECT_TRUE(d0.v == s0.v && d1.v == s1.v);
}

TYPED_TEST(BasicMixingTest, strided_forms_leave_the_gaps) {
    Buf s{1, 2, 3};
    Buf d;
    d.v.fill(9);
    TypeParam::copy_1_ni1(d, s, 3, 3);
    EXPECT_EQ(d.head(9), Floats({1, 9, 9, 2, 9, 9, 3, 9, 9}));
    Buf m{10, 10, 10, 10};
    TypeParam::mix_ni1_1(m, d, 3, 3);
    EXPECT_EQ(m.head(4), Floats({11, 12, 13, 10}));
    TypeParam::copy_ni1_1(m, d, 2, 6);
    EXPECT_EQ(m.head(3), Floats({1, 3, 13}));
    Buf p{1, 2, -1, 3, 4, -1, 5, 6, -1};
    d.v.fill(9);
    TypeParam::copy_nip_mip(d, p, 3, 4, 3, 2);
    EXPECT_EQ(d.head(12), Floats({1, 2, 9, 9, 3, 4, 9, 9, 5, 6, 9, 9}));
}

TYPED_TEST(BasicMixingTest, clears_to_positive_zero) {
    Buf d;
    d.v.fill(9);
    TypeParam::clear_nim(d, 2, 2, 3);
    EXPECT_EQ(d.head(10), Floats({0, 0, 9, 9, 9, 0, 0, 9, 9, 9}));
    d.v.fill(-0.0f);
    TypeParam::clear_nim(d, 3, 5, 0);
    TypeParam::clear(d + 32, 7);
    for (std::size_t i = 0; i < 64; ++i) {
        EXPECT_EQ(std::signbit(d.v[i]), !(i < 15 || (i >= 32 && i < 39))) << i;
    }
}

TYPED_TEST(BasicMixingTest, matrix_gains_go_from_source_to_destination) {
    Buf s0{1, 1, 1, 1, 1};
    Buf s1{10, 10, 10, 10, 10};
    Buf d0;
    Buf d1;
    TypeParam::copy_mat_2_2_v(d0, d1, s0, s1, 5, StereoLevel{2, 3, 5, 7});
    EXPECT_EQ(d0.head(6), Floats({52, 52, 52, 52, 52, 0}));
    EXPECT_EQ(d1.head(6), Floats({73, 73, 73, 73, 73, 0}));
}

TYPED_TEST(BasicMixingTest, one_gain_that_differs_makes_a_ramp) {
    Buf s{1, 1, 1, 1};
    for (int gain = 0; gain < 4; ++gain) {
        Buf d0;
        Buf d1;
        StereoLevel end{};
        (gain == 0 ? end.ll : gain == 1 ? end.lr : gain == 2 ? end.rl : end.rr) = 1;
        TypeParam::mix_mat_2_2_vlrauto(d0, d1, s, s, 4, StereoLevel{}, end);
        Floats const ramp{0, 0.25f, 0.5f, 0.75f};
        EXPECT_EQ(d0.head(4), gain % 2 == 0 ? ramp : Floats(4)) << gain;
        EXPECT_EQ(d1.head(4), gain % 2 == 1 ? ramp : Floats(4)) << gain;
    }
}

TYPED_TEST(BasicMixingTest, spread_and_xfade) {
    Buf s{4, 4, 4, 4};
    Buf d0;
    Buf d1;
    TypeParam::copy_spread_1_2_vlrauto(d0, d1, s, 4, 1.0f, 0.0f, 1.0f, 1.0f);
    EXPECT_EQ(d0.head(4), Floats({4, 4, 4, 4}));
    EXPECT_EQ(d1.head(4), Floats({0, 1, 2, 3}));
    Buf s1{8, 8, 8, 8};
    TypeParam::copy_xfade_2_1_v(d0, s, s1, 4, 0.25f);
    EXPECT_EQ(d0.head(4), Floats({5, 5, 5, 5}));
    TypeParam::copy_xfade_2_1_vlr(d0, s, s1, 4, 0.0f, 1.0f);
    EXPECT_EQ(d0.head(4), Floats({4, 5, 6, 7}));
}

TYPED_TEST(BasicMixingTest, constants_sums_and_products) {
    Buf d0{1, 2, 3, 4, 5};
    Buf d1{5, 5, 5, 5, 5};
    TypeParam::add_sub_ip_2_2(d0, d1, 5);
    EXPECT_EQ(d0.head(6), Floats({6, 7, 8, 9, 10, 0}));
    EXPECT_EQ(d1.head(6), Floats({-4, -3, -2, -1, 0, 0}));
    TypeParam::linop_cst_ip_1(d0, 5, 2.0f, 1.0f);
    EXPECT_EQ(d0.head(6), Floats({13, 15, 17, 19, 21, 0}));
    TypeParam::linop_cst_1_1(d0, d1, 5, -1.0f, 1.0f);
    EXPECT_EQ(d0.head(6), Floats({5, 4, 3, 2, 1, 0}));
    TypeParam::add_cst_1_2(d0, d1, 5, 1.0f);
    EXPECT_EQ(d0.head(6), Floats({6, 5, 4, 3, 2, 0}));
    EXPECT_EQ(d1.head(6), Floats({-3, -2, -1, 0, 1, 0}));
    Buf s{2, 2, 2, 2, 3};
    TypeParam::mult_ip_1_2(d0, d1, s, 5);
    EXPECT_EQ(d0.head(6), Floats({12, 10, 8, 6, 6, 0}));
    EXPECT_EQ(d1.head(6), Floats({-6, -4, -2, 0, 3, 0}));
}

// A signalling NaN comes through a copy unchanged; arithmetic would make it a quiet one.
TYPED_TEST(BasicMixingTest, copies_keep_every_bit) {
    constexpr std::uint32_t snan = 0x7FA12345;
    std::array<std::uint32_t, 7> bits;
    bits.fill(snan);
    Buf s;
    Buf d;
    std::memcpy(s.v.data(), bits.data(), sizeof bits);
    TypeParam::copy_1_1(d, s, 7);
    EXPECT_EQ(std::memcmp(d.v.data(), bits.data(), sizeof bits), 0);
    TypeParam::copy_1_2i(d, s, 7);
    EXPECT_EQ(std::memcmp(d.v.data(), bits.data(), sizeof bits), 0);
}

TEST(BasicMixingScalarTest, level_1_is_the_plain_form) {
    BasicMixing::setup();
    std::array<std::uint32_t, 7> bits;
    bits.fill(0x7FA12345);
    Buf s;
    std::memcpy(s.v.data(), bits.data(), sizeof bits);
    auto const is_kept = [&bits](Buf const& d) {
        return std::memcmp(d.v.data(), bits.data(), sizeof bits) == 0;
    };
    Buf d0;
    Buf d1;
    BasicMixing::copy_1_1_v(d0, s, 7, 1.0f);
    EXPECT_TRUE(is_kept(d0));
    BasicMixing::copy_2_2_vlrauto(d0, d1, s, s, 7, 1.0f, 1.0f);
    EXPECT_TRUE(is_kept(d0) && is_kept(d1));
    BasicMixing::scale_1_v(d0, 7, 1.0f);
    BasicMixing::scale_2_vlrauto(d0, d1, 7, 1.0f, 1.0f);
    EXPECT_TRUE(is_kept(d0) && is_kept(d1));
    BasicMixing::copy_1_1_v(d0, s, 7, 0.0f); // an ordinary product
    EXPECT_TRUE(std::isnan(d0.v[0]) && !is_kept(d0));
}

// How far a routine of the aligned table may be from the same one of the other table, in units of
// n * 2^-24 * (greatest level) * (greatest sum of sources). Zero is equality of bits.
double find_tolerance(std::string const& name) {
    struct Row {
        char const* ending;
        double tolerance;
    };
    static constexpr Row table[] = {
        {"_vlr", 2.0}, {"_vlrauto", 2.0}, {"_lr", 2.0}, {"_lrauto", 2.0}};
    for (Row const& row : table) {
        if (name.ends_with(row.ending)) {
            return row.tolerance;
        }
    }
    return 0.0;
}

class BasicMixingTablesTest : public testing::Test {
protected:
    static std::vector<std::pair<MixRoutine, MixRoutine>> list_pairs() {
        BasicMixing::setup();
        BasicMixingAlign::setup();
        std::vector<std::pair<MixRoutine, MixRoutine>> list;
#define ADD(name, params)                                                                          \
    list.emplace_back(make_mix_routine(#name, true, BasicMixing::name),                            \
                      make_mix_routine(#name, true, BasicMixingAlign::name));
        ULK_BASIC_MIXING_LIST(ADD, ADD)
#undef ADD
        return list;
    }
    float draw() {
        return std::uniform_real_distribution<float>(-1.0f, 1.0f)(_rng);
    }

    // A buffer for each pointer, filled from the seed; returns the destinations after the call.
    std::vector<float> run(MixRoutine const& routine, MixArgs args, unsigned seed) {
        auto const area_len = static_cast<std::size_t>(args.nbr_spl) * 8;
        std::vector<std::unique_ptr<GuardedArea>> area_list;
        _rng.seed(seed);
        for (std::size_t k = 0; k < routine.nbr_dst + routine.nbr_src; ++k) {
            area_list.push_back(std::make_unique<GuardedArea>(area_len));
            float* const beg = area_list.back()->use_beg();
            std::generate_n(beg, area_len, [this] { return draw(); });
            (k < routine.nbr_dst ? args.dst : args.src).push_back(beg);
        }
        routine.call(args);
        std::vector<float> result;
        for (std::size_t k = 0; k < routine.nbr_dst; ++k) {
            result.insert(result.end(), args.dst[k], args.dst[k] + area_len);
        }
        return result;
    }

    std::mt19937 _rng{99};
};

TEST_F(BasicMixingTablesTest, agree_within_the_tolerances) {
    unsigned seed = 1;
    for (auto const& [scalar, aligned] : list_pairs()) {
        for (long const len : {1, 2, 3, 4, 5, 7, 8, 31, 64, 70, 333, 1023}) {
            MixArgs args;
            args.nbr_spl = len;
            args.number = {4, 4, 3};
            std::generate_n(std::back_inserter(args.level), scalar.nbr_level,
                            [this] { return draw(); });
            for (std::size_t k = 0; k < scalar.nbr_matrix; ++k) {
                args.matrix.push_back({draw(), draw(), draw(), draw()});
            }
            ++seed;
            std::vector<float> const l = run(scalar, args, seed);
            std::vector<float> const r = run(aligned, args, seed);
            double const limit =
                find_tolerance(scalar.name) * 2 * static_cast<double>(len) * std::ldexp(1.0, -24);
            for (std::size_t i = 0; i < l.size(); ++i) {
                bool const ok_flag = limit == 0.0 ? std::bit_cast<std::uint32_t>(l[i]) ==
                                                        std::bit_cast<std::uint32_t>(r[i])
                                                  : std::abs(l[i] - r[i]) <= limit;
                ASSERT_TRUE(ok_flag)
                    << scalar.name << ", length " << len << ", " << l[i] << " " << r[i];
            }
        }
    }
}

TEST_F(BasicMixingTablesTest, ramps_follow_the_line) {
    BasicMixing::setup();
    BasicMixingAlign::setup();
    for (long len = 1; len < 1000; ++len) {
        double const a = draw();
        double const b = draw();
        for (auto* const fill_lr : {BasicMixing::fill_lr, BasicMixingAlign::fill_lr}) {
            alignas(16) std::array<float, 1000> buf;
            fill_lr(buf.data(), len, static_cast<float>(a), static_cast<float>(b));
            double const limit = 2 * static_cast<double>(len) * std::ldexp(1.0, -24);
            for (long i = 0; i < len; ++i) {
                double const line = a + static_cast<double>(i) * (b - a) / static_cast<double>(len);
                ASSERT_NEAR(buf[static_cast<std::size_t>(i)], line, limit);
            }
        }
    }
}

// 0.1 is no float: adding it again and again is another sum than a product by the position.
TEST(BasicMixingScalarTest, ramp_is_a_chain_of_additions) {
    BasicMixing::setup();
    Buf d;
    BasicMixing::fill_lr(d, 10, 0.0f, 1.0f);
    float level = 0.0f;
    bool differs_flag = false;
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_EQ(d.v[i], level);
        differs_flag |= level != static_cast<float>(i) * 0.1f;
        level += 0.1f;
    }
    EXPECT_TRUE(differs_flag);
}

// The scalar ramp against the plain chain of additions, where rounding is delicate.
class BasicMixingRampTest : public testing::Test {
protected:
    void SetUp() override { BasicMixing::setup(); }

    static void check(float a, float b, long len) {
        std::vector<float> dst(static_cast<std::size_t>(len));
        BasicMixing::fill_lr(dst.data(), len, a, b);
        float const step = (b - a) / static_cast<float>(len);
        float level = a;
        for (std::size_t i = 0; i < dst.size(); ++i) {
            ASSERT_TRUE(bits(dst[i]) == bits(level) || (std::isnan(level) && std::isnan(dst[i])))
                << a << " to " << b << ", " << i << " of " << len;
            level += step;
        }
    }
    static std::uint32_t bits(float val) { return std::bit_cast<std::uint32_t>(val); }
    float draw(int exponent_min, int exponent_max) {
        float const mantissa = std::uniform_real_distribution<float>(-2.0f, 2.0f)(_rng);
        return std::ldexp(mantissa,
                          std::uniform_int_distribution<int>(exponent_min, exponent_max)(_rng));
    }

    std::mt19937 _rng{7};
};

TEST_F(BasicMixingRampTest, any_levels_of_any_size) {
    for (int i = 0; i < 3000; ++i) {
        check(draw(-3, 1), draw(-3, 1), 1 + static_cast<long>(_rng() % 2000));
        check(draw(-30, 5), draw(-30, 5), 1 + static_cast<long>(_rng() % 500));
        check(draw(-148, 126), draw(-148, 126), 1 + static_cast<long>(_rng() % 100));
        float const a = draw(0, 0);
        check(a, a + draw(-26, -18), 1 + static_cast<long>(_rng() % 1000));
    }
}

// Infinities, NaN and denormals among them, and ends so near that a step is a part of a distance.
TEST_F(BasicMixingRampTest, levels_of_any_bits) {
    for (int i = 0; i < 20000; ++i) {
        std::uint32_t const beg = static_cast<std::uint32_t>(_rng());
        std::uint32_t const end = static_cast<std::uint32_t>(_rng());
        long const len = 1 + static_cast<long>(_rng() % 200);
        check(std::bit_cast<float>(beg), std::bit_cast<float>(end), len);
        check(std::bit_cast<float>(beg), std::bit_cast<float>(beg + end % 4096 - 2048), len);
    }
}

TEST_F(BasicMixingRampTest, through_zero_and_to_zero) {
    for (long len : {16, 64, 1000, 1024, 4096}) {
        check(0.0f, 1.0f, len);
        check(1.0f, 0.0f, len);
        check(-0.0f, 1.0f, len);
        check(1.0f, -1.0f, len);
        check(-0.3f, 0.7f, len);
        check(1e-30f, 0.0f, len);
        check(1e-40f, 0.0f, len);
    }
}

// Steps of an odd number of half distances: each sum lies midway between two floats.
TEST_F(BasicMixingRampTest, steps_midway_between_two_floats) {
    constexpr float distance = 0x1p-23f;
    for (int odd = -101; odd <= 101; odd += 2) {
        for (long const len : {64, 256, 1024}) {
            for (int first = 0; first < 4; ++first) {
                float const a = 1.5f + static_cast<float>(first) * distance;
                float const b = a + static_cast<float>(odd * len) * distance / 2;
                ASSERT_EQ((b - a) / static_cast<float>(len),
                          static_cast<float>(odd) * distance / 2);
                check(a, b, len);
                check(-a, -b, len);
            }
        }
    }
}

// From just below to just above a power of 2, where the distance of floats changes.
TEST_F(BasicMixingRampTest, round_a_power_of_two) {
    constexpr float distance = 0x1p-24f;
    for (int below = -40; below <= 40; ++below) {
        for (int above = -40; above <= 40; ++above) {
            float const a = 1.0f + static_cast<float>(below) * distance;
            float const b = 1.0f + static_cast<float>(above) * distance;
            check(a, b, 40);
            check(-a, -b, 33);
        }
    }
}

TEST_F(BasicMixingRampTest, infinite_levels) {
    float const infinity = std::numeric_limits<float>::infinity();
    check(infinity, 0.0f, 100);
    check(0.0f, infinity, 100);
    check(-infinity, infinity, 100);
    check(std::numeric_limits<float>::max(), -std::numeric_limits<float>::max(), 100);
    check(0.0f, std::numeric_limits<float>::max(), 100);
    check(std::numeric_limits<float>::quiet_NaN(), 1.0f, 100);
}

} // namespace
