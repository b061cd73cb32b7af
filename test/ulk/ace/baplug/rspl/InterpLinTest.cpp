#include "ulk/ace/baplug/rspl/InterpLin.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

using ulk::ace::baplug::rspl::InterpLin;
using ulk::archi::Fixed3232;

namespace {

using Floats = std::vector<float>;

// One value at a time.
void interpolate(float* dest, long dest_stride, float const* src, int nbr_chn, long nbr_spl,
                 std::uint64_t pos, std::uint64_t step) {
    for (long i = 0; i < nbr_spl; ++i, pos += step) {
        float const hi = static_cast<float>((pos >> 16) & 0xFFFF);
        float const lo = static_cast<float>(pos & 0xFFFF);
        float const frac = (hi * 65536.0f + lo) * 2.3283064e-10f;
        for (int c = 0; c < nbr_chn; ++c) {
            float const* const at = src + static_cast<long>(pos >> 32) * nbr_chn + c;
            dest[c * dest_stride + i] = at[0] + frac * (at[nbr_chn] - at[0]);
        }
    }
}

class Case {
public:
    explicit Case(std::mt19937_64& rng)
        : _rng(rng) {}

    void run(int nbr_chn, long nbr_spl) {
        std::uint64_t const step = make_step();
        std::uint64_t const beg = pick(0, 3) << 32 | make_frac();
        std::uint64_t const last = beg + step * static_cast<std::uint64_t>(std::max(nbr_spl, 1L)) -
                                   (nbr_spl > 0 ? step : 0);
        // Not a frame more than what may be read: the address sanitizer sees the rest.
        Floats src(((last >> 32) + 2) * static_cast<std::uint64_t>(nbr_chn));
        for (float& val : src) {
            val = make_val();
        }
        long const stride = nbr_spl + static_cast<long>(pick(0, 5));
        Floats expected(static_cast<std::size_t>(stride * nbr_chn + 4), 77);
        Floats const untouched = expected;
        interpolate(expected.data(), stride, src.data(), nbr_chn, nbr_spl, beg, step);
        for (int const nbr_bits : {128, 256}) {
            auto const fnc = InterpLin::use_fnc(nbr_bits);
            if (fnc == nullptr) {
                continue;
            }
            Floats dest = untouched;
            fnc(dest.data(), stride, src.data(), nbr_chn, nbr_spl, beg, step);
            ASSERT_EQ(0, std::memcmp(expected.data(), dest.data(), dest.size() * sizeof(float)))
                << nbr_bits << " bits, " << nbr_chn << " channels, " << nbr_spl
                << " frames, stride " << stride << ", from " << beg << " by " << step;
        }
        Floats dest = untouched;
        Fixed3232 pos = Fixed3232::from_raw(static_cast<long long>(beg));
        InterpLin::process(dest.data(), stride, src.data(), nbr_chn, nbr_spl, pos,
                           static_cast<long long>(step));
        EXPECT_EQ(beg + step * static_cast<std::uint64_t>(nbr_spl),
                  static_cast<std::uint64_t>(pos.get_raw()));
        ASSERT_EQ(0, std::memcmp(expected.data(), dest.data(), dest.size() * sizeof(float)));
    }

private:
    std::uint64_t pick(std::uint64_t lo, std::uint64_t hi) {
        return std::uniform_int_distribution<std::uint64_t>(lo, hi)(_rng);
    }
    std::uint64_t make_frac() {
        std::uint64_t const edge_arr[] = {0, 1, 0xFFFF, 0x10000, 0x80000000, 0xFFFFFFFF};
        return pick(0, 2) == 0 ? edge_arr[pick(0, 5)] : pick(0, 0xFFFFFFFF);
    }
    std::uint64_t make_step() {
        switch (pick(0, 5)) {
        case 0:
            return pick(0, 3) << 32;
        case 1:
            return pick(0, 1000);
        case 2:
            return pick(0, 0xFFFFFFFF);
        case 3:
            return pick(0, 300ULL << 32);
        default:
            return pick(0, 4ULL << 32);
        }
    }
    // Sound, with some of the largest, smallest and denormal values; sums stay finite.
    float make_val() {
        if (_rng() % 8 != 0) {
            return static_cast<float>(static_cast<int>(_rng() >> 40)) * 0x1p-23f - 1;
        }
        float const edge_arr[] = {0, -0.0f, 1e-45f, -1e-38f, 1e38f, -1e38f};
        return edge_arr[_rng() % 6];
    }

    std::mt19937_64& _rng;
};

} // namespace

class InterpLinTest : public ::testing::TestWithParam<int> {};

TEST_P(InterpLinTest, AnyWayGivesTheBitsOfThePlainLoop) {
    std::mt19937_64 rng(static_cast<unsigned long>(GetParam()));
    Case test_case(rng);
    for (int round = 0; round < 4; ++round) {
        for (long nbr_spl = 0; nbr_spl < 100 && !HasFailure(); ++nbr_spl) {
            test_case.run(GetParam(), nbr_spl);
        }
    }
    test_case.run(GetParam(), 8192);
}

INSTANTIATE_TEST_SUITE_P(Channels, InterpLinTest, ::testing::Range(1, 17));

TEST(InterpLinStepTest, EveryProcessorHasTheNarrowForm) {
    EXPECT_NE(nullptr, InterpLin::use_fnc(128));
    EXPECT_EQ(nullptr, InterpLin::use_fnc(64));
    EXPECT_EQ(nullptr, InterpLin::use_fnc(512));
}

// Steps far beyond any sample: the position goes where it belongs, also where it will not be read.
TEST(InterpLinStepTest, HugeStepsMoveThePosition) {
    float const src[] = {1, 2};
    float dest = 0;
    long long const step = 1LL << 61;
    Fixed3232 pos(0, 0x80000000u);
    InterpLin::process(&dest, 1, src, 1, 1, pos, step);
    EXPECT_EQ(1.5f, dest);
    EXPECT_EQ(step + 0x80000000LL, pos.get_raw());
}
