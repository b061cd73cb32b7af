#include "ulk/dsp/SweepingSin.h"

#include <cmath>
#include <numbers>
#include <type_traits>

namespace {

using ulk::dsp::SweepingSin;

static_assert(std::has_virtual_destructor_v<SweepingSin>);

std::vector<float> generate(SweepingSin const& gen, long nbr_spl) {
    std::vector<float> buf(static_cast<std::size_t>(nbr_spl));
    gen.generate(buf.data(), nbr_spl);
    return buf;
}

// The phase is the integral of the frequency fs0 * (f1 / f0)^(t / len), in closed form.
double compute_phase(double fs, double f0, double f1, double len, double t) {
    double const pi2 = 2 * std::numbers::pi;
    if (f0 == f1) {
        return pi2 * f0 / fs * t;
    }
    return pi2 * f0 / fs * len / std::log(f1 / f0) * (std::pow(f1 / f0, t / len) - 1);
}

TEST(SweepingSinTest, EqualFrequenciesGiveAPureSine) {
    std::vector<float> const buf = generate(SweepingSin(48000, 1000, 1000), 4800);
    EXPECT_EQ(buf[0], 0.0f);
    for (std::size_t i = 0; i < buf.size(); ++i) {
        double const x = 2 * std::numbers::pi * static_cast<double>(i % 48) / 48;
        ASSERT_NEAR(buf[i], std::sin(x), 1e-6);
    }
}

TEST(SweepingSinTest, SweepsFollowThePhaseInBothDirections) {
    struct Case {
        double fs, f0, f1;
        long len;
    };
    Case const cases[] = {{44100, 20, 20000, 44100}, {44100, 20000, 20, 44100},
                          {96000, 440, 441, 20000},  {96000, 441, 440, 20000},
                          {48000, 50, 6400, 1},      {44100, 3000, 3000, 1000}};
    for (Case const& c : cases) {
        std::vector<float> const buf = generate(SweepingSin(c.fs, c.f0, c.f1), c.len);
        for (std::size_t i = 0; i < buf.size(); ++i) {
            double const phase =
                compute_phase(c.fs, c.f0, c.f1, static_cast<double>(c.len), static_cast<double>(i));
            ASSERT_NEAR(buf[i], std::sin(phase), 1e-6) << c.f0 << ' ' << c.f1 << ' ' << i;
        }
    }
}

TEST(SweepingSinTest, DefaultsSweepTheAudibleRange) {
    EXPECT_EQ(generate(SweepingSin(), 1000), generate(SweepingSin(44100, 20, 20000), 1000));
}

TEST(SweepingSinTest, PartsJoinUp) {
    for (double f1 : {20.0, 20000.0, 300.0}) {
        SweepingSin const gen(44100, 300, f1);
        std::vector<float> const whole = generate(gen, 5000);
        std::vector<float> parts(5001, 9.0f);
        std::mt19937 rnd(5);
        for (long pos = 0; pos < 5000;) {
            long const len = std::min(5000 - pos, static_cast<long>(rnd() % 200));
            gen.generate(parts.data() + pos, 5000, pos, len);
            pos += len;
        }
        EXPECT_EQ(parts[5000], 9.0f);
        for (std::size_t i = 0; i < 5000; ++i) {
            ASSERT_NEAR(parts[i], whole[i], 2e-7);
        }
    }
}

} // namespace
