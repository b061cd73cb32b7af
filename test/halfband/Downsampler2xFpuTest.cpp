#include "halfband/Downsampler2xFpu.h"

#include <array>
#include <cmath>

namespace {

using Dspl = halfband::Downsampler2xFpu<8>;
using Coefs = std::array<double, 8>;

Coefs const COEFS = {0.0771, 0.2659, 0.4820, 0.6651, 0.7968, 0.8841, 0.9412, 0.9820};

std::vector<float> make_noise(long len, unsigned seed) {
    std::mt19937 rnd(seed);
    std::uniform_real_distribution<float> dist(-1.0f, 1.0f);
    std::vector<float> noise(static_cast<std::size_t>(len));
    std::generate(noise.begin(), noise.end(), [&] { return dist(rnd); });
    return noise;
}

// One branch as a whole signal through one section after another, in double precision.
std::vector<double> run_branch(std::vector<double> sig, Coefs const& coefs, std::size_t first) {
    for (std::size_t k = first; k < coefs.size(); k += 2) {
        double const c = static_cast<float>(coefs[k]);
        std::vector<double> out(sig.size());
        for (std::size_t i = 0; i < sig.size(); ++i) {
            out[i] = c * sig[i] + (i > 0 ? sig[i - 1] - c * out[i - 1] : 0.0);
        }
        sig = out;
    }
    return sig;
}

struct Bands {
    std::vector<double> low;
    std::vector<double> high;
};

Bands run_model(std::vector<float> const& src, Coefs const& coefs) {
    std::vector<double> even, odd;
    for (std::size_t i = 0; i + 1 < src.size(); i += 2) {
        even.push_back(src[i]);
        odd.push_back(src[i + 1]);
    }
    std::vector<double> const p = run_branch(odd, coefs, 0);
    std::vector<double> const q = run_branch(even, coefs, 1);
    Bands bands;
    for (std::size_t i = 0; i < p.size(); ++i) {
        bands.low.push_back((p[i] + q[i]) / 2);
        bands.high.push_back(p[i] - (p[i] + q[i]) / 2);
    }
    return bands;
}

TEST(Downsampler2xFpuTest, IsThreeArraysOfFloats) {
    EXPECT_EQ(sizeof(Dspl), 24 * sizeof(float));
}

TEST(Downsampler2xFpuTest, WithoutCoefficientsItIsADelay) {
    for (int slot = 0; slot < 2; ++slot) {
        Dspl dspl;
        std::vector<float> src(32);
        src[static_cast<std::size_t>(slot)] = 1.0f;
        for (int i = 0; i < 16; ++i) {
            EXPECT_EQ(dspl.process_sample(&src[static_cast<std::size_t>(2 * i)]),
                      i == 4 ? 0.5f : 0.0f);
        }
    }
}

TEST(Downsampler2xFpuTest, FollowsTheModelForAnyCoefficients) {
    std::mt19937 rnd(3);
    std::uniform_real_distribution<double> dist(-0.97, 0.97);
    for (unsigned trial = 0; trial < 50; ++trial) {
        Coefs coefs;
        std::generate(coefs.begin(), coefs.end(), [&] { return dist(rnd); });
        std::vector<float> const src = make_noise(2000, trial);
        Bands const bands = run_model(src, coefs);
        Dspl dspl;
        dspl.set_coefs(coefs.data());
        std::vector<float> low(1000), high(1000);
        dspl.process_block_split(low.data(), high.data(), src.data(), 1000);
        for (std::size_t i = 0; i < 1000; ++i) {
            ASSERT_NEAR(low[i], bands.low[i], 2e-4) << trial << ' ' << i;
            ASSERT_NEAR(high[i], bands.high[i], 2e-4) << trial << ' ' << i;
        }
    }
}

// In single precision, each section with its own last input and output: to the bit.
TEST(Downsampler2xFpuTest, RoundsAsTheSectionsDo) {
    std::vector<float> const src = make_noise(4000, 31);
    Dspl dspl;
    dspl.set_coefs(COEFS.data());
    float x[8] = {}, y[8] = {};
    for (std::size_t i = 0; i < src.size(); i += 2) {
        float branch[2] = {src[i + 1], src[i]};
        for (std::size_t k = 0; k < 8; ++k) {
            float const in = branch[k % 2];
            float const out = (in - y[k]) * static_cast<float>(COEFS[k]) + x[k];
            x[k] = in;
            y[k] = branch[k % 2] = out;
        }
        float low, high;
        dspl.process_sample_split(low, high, &src[i]);
        ASSERT_EQ(low, (branch[0] + branch[1]) * 0.5f) << i;
        ASSERT_EQ(high, branch[0] - low) << i;
    }
}

TEST(Downsampler2xFpuTest, EveryFormGivesTheSameData) {
    std::mt19937 rnd(4);
    std::vector<float> const src = make_noise(2000, 77);
    Dspl whole;
    whole.set_coefs(COEFS.data());
    std::vector<float> expected(1000);
    whole.process_block(expected.data(), src.data(), 1000);
    for (int trial = 0; trial < 100; ++trial) {
        Dspl dspl;
        dspl.set_coefs(COEFS.data());
        std::vector<float> low(1000), high(1000);
        for (long pos = 0; pos < 1000;) {
            long const len = std::min(1000 - pos, static_cast<long>(rnd() % 40));
            float* const l = low.data() + pos;
            float* const h = high.data() + pos;
            float const* const s = src.data() + 2 * pos;
            switch (rnd() % 4) {
            case 0:
                dspl.process_block(l, s, len);
                break;
            case 1:
                dspl.process_block_split(l, h, s, len);
                break;
            case 2:
                for (long i = 0; i < len; ++i) {
                    l[i] = dspl.process_sample(s + 2 * i);
                }
                break;
            default:
                for (long i = 0; i < len; ++i) {
                    dspl.process_sample_split(l[i], h[i], s + 2 * i);
                }
            }
            pos += len;
        }
        ASSERT_EQ(low, expected);
    }
}

TEST(Downsampler2xFpuTest, WorksInPlaceAndLeavesTheSecondHalf) {
    std::vector<float> buf = make_noise(400, 5);
    std::vector<float> const src = buf;
    Dspl a, b;
    a.set_coefs(COEFS.data());
    b.set_coefs(COEFS.data());
    std::vector<float> expected(200);
    a.process_block(expected.data(), src.data(), 200);
    expected.insert(expected.end(), src.begin() + 200, src.end());
    b.process_block(buf.data(), buf.data(), 200);
    EXPECT_EQ(buf, expected);
}

TEST(Downsampler2xFpuTest, ClearingForgetsTheSignalAlone) {
    std::vector<float> const src = make_noise(400, 6);
    Dspl fresh, used;
    fresh.set_coefs(COEFS.data());
    used.set_coefs(COEFS.data());
    std::vector<float> a(200), b(200);
    used.process_block(b.data(), make_noise(400, 7).data(), 200);
    used.clear_buffers();
    fresh.process_block(a.data(), src.data(), 200);
    used.process_block(b.data(), src.data(), 200);
    EXPECT_EQ(a, b);
}

TEST(Downsampler2xFpuTest, SplitsTheSpectrumInTwo) {
    std::vector<float> const dc(4000, 1.0f);
    std::vector<float> nyquist(4000, 1.0f);
    for (std::size_t i = 1; i < nyquist.size(); i += 2) {
        nyquist[i] = -1.0f;
    }
    Dspl dspl;
    dspl.set_coefs(COEFS.data());
    float low = 0, high = 0;
    for (std::size_t i = 0; i < dc.size(); i += 2) {
        dspl.process_sample_split(low, high, &dc[i]);
    }
    EXPECT_NEAR(low, 1.0f, 1e-5f);
    EXPECT_NEAR(high, 0.0f, 1e-5f);
    for (std::size_t i = 0; i < nyquist.size(); i += 2) {
        dspl.process_sample_split(low, high, &nyquist[i]);
    }
    EXPECT_NEAR(low, 0.0f, 1e-5f);
    EXPECT_NEAR(high, -1.0f, 1e-5f); // the branch of the second sample leads
}

TEST(Downsampler2xFpuTest, BandsShareTheEnergyOfAnImpulse) {
    Dspl dspl;
    dspl.set_coefs(COEFS.data());
    std::vector<float> src(20000);
    src[0] = 1.0f;
    double energy = 0;
    for (std::size_t i = 0; i < src.size(); i += 2) {
        float low, high;
        dspl.process_sample_split(low, high, &src[i]);
        energy += double(low) * low + double(high) * high;
    }
    EXPECT_NEAR(energy, 0.5, 1e-5);
}

} // namespace
