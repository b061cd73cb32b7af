#include "ulk/dsp/FilterMoogSse.h"

#include <array>
#include <cfloat>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>

namespace {

using ulk::dsp::FilterMoogSse;

// The same filter in double precision, told step by step.
struct Model {
    double s[4] = {};
    double prev = 0;
    double k = 0;
    double a = 0;
    double g = 0;
    double target = 1;
    double gain = 1;
    double fs = 44100;
    double res = 0;

    Model() { set_cotangent(1 / std::tan(std::numbers::pi * 1000 / 44100)); }

    void set_cotangent(double c) {
        g = 1 / (c + 1);
        a = (1 - c) / (c + 1);
    }
    void set_cutoff(double freq) {
        double const f = freq / fs;
        double const w = std::numbers::pi * f;
        set_cotangent(1 / (w + std::pow(w, 3) / 3 + std::pow(w, 5) * 2 / 15));
        k = res * 12 / (8 * f * f * f + 5 * f * f + 6 * f + 2);
        target = (1 - res) + res * (24 * std::pow(f - 0.25, 2) + 0.5);
    }
    static double shape(double x) {
        double const t = x + 0.125;
        double fb;
        if (t < -1) {
            fb = -1;
        } else if (t > 1) {
            fb = 1;
        } else {
            fb = t + (std::fabs(t) - t * t) * t;
        }
        return fb - 0.138671875;
    }
    static double clip(double x) {
        double const d = x - std::min(std::max(x, -1.0), 1.0);
        return x - d * std::fabs(d) / 2;
    }
    double process(double x) {
        gain += (target - gain) / 256;
        double const u = x - k * shape(s[3]);
        double const c[4] = {clip(s[0]), clip(s[1]), clip(s[2]), clip(s[3])};
        s[0] = (u + prev) * g - a * c[0];
        for (int i = 1; i < 4; ++i) {
            s[i] = (s[i - 1] + c[i - 1]) * g - a * c[i];
        }
        prev = u;
        return s[3] * gain;
    }
};

std::vector<float> make_noise(std::size_t len, float level, unsigned seed) {
    std::mt19937 rnd(seed);
    std::uniform_real_distribution<float> dist(-level, level);
    std::vector<float> noise(len);
    std::generate(noise.begin(), noise.end(), [&] { return dist(rnd); });
    return noise;
}

TEST(FilterMoogSseTest, IsAlignedForVectors) {
    EXPECT_EQ(alignof(FilterMoogSse), 16U);
}

TEST(FilterMoogSseTest, StartsWithTheExactCutoff) {
    std::vector<float> const src = make_noise(2000, 1.0f, 1);
    std::vector<float> dst(2000);
    FilterMoogSse().process_block(dst.data(), src.data(), 2000);
    Model model;
    for (std::size_t i = 0; i < 2000; ++i) {
        ASSERT_NEAR(dst[i], model.process(src[i]), 1e-6) << i;
    }
}

TEST(FilterMoogSseTest, FollowsTheModelAtAllLevels) {
    for (float level : {0.01f, 1.0f, 2.5f}) {
        for (float res : {0.0f, 0.4f, 0.8f}) {
            for (float freq : {100.0f, 1000.0f, 8000.0f}) {
                std::vector<float> const src = make_noise(3000, level, 3);
                std::vector<float> dst(3000);
                FilterMoogSse flt;
                flt.set_sample_freq(48000);
                flt.set_resonance(res);
                flt.set_cutoff(freq);
                Model model;
                model.fs = 48000;
                model.res = res;
                model.set_cutoff(freq);
                flt.process_block(dst.data(), src.data(), 3000);
                for (std::size_t i = 0; i < 3000; ++i) {
                    ASSERT_NEAR(dst[i], model.process(src[i]), 2e-4)
                        << level << ' ' << res << ' ' << freq << ' ' << i;
                }
            }
        }
    }
}

// In single precision, each operation in the order that the header tells: to the bit.
TEST(FilterMoogSseTest, RoundsAsTheStepsDo) {
    for (float level : {1e-3f, 1.0f, 6.0f}) {
        FilterMoogSse flt;
        flt.set_sample_freq(48000);
        flt.set_resonance(0.75f);
        flt.set_cutoff(2345.0f);
        double const f = 2345.0 / 48000;
        double const w = std::numbers::pi * f;
        double const c = 1 / ((w * w * (w * w * 0.13333333333333333 + 0.3333333333333333) + 1) * w);
        auto const g = static_cast<float>(1 / (c + 1));
        auto const a = static_cast<float>((1 - c) * (1 / (c + 1)));
        auto const k = static_cast<float>(0.75 * 12 / (((f * 8 + 5) * f + 6) * f + 2));
        auto const target =
            static_cast<float>((1 - 0.75) + 0.75 * ((f - 0.25) * (f - 0.25) * 24 + 0.5));
        float gain = 1, prev = 0;
        float s[4] = {}, clip[4] = {};
        std::vector<float> const src = make_noise(5000, level, 12);
        std::vector<float> dst(5000);
        flt.process_block(dst.data(), src.data(), 5000);
        for (std::size_t i = 0; i < 5000; ++i) {
            gain += (target - gain) * 0.00390625f;
            float t = s[3] + 0.125f, t_abs = std::fabs(t), t_sqr = t * t;
            if (t < -1 || t > 1) {
                t = t < -1 ? -1.0f : 1.0f;
                t_abs = t_sqr = 1;
            }
            float const u = src[i] - k * (t + (t_abs - t_sqr) * t - 0.138671875f);
            for (int n = 0; n < 4; ++n) {
                float const over = s[n] - (s[n] < -1 ? -1.0f : s[n] > 1 ? 1.0f : s[n]);
                clip[n] = s[n] - over * std::fabs(over) * 0.5f;
            }
            s[0] = (u + prev) * g - a * clip[0];
            for (int n = 1; n < 4; ++n) {
                s[n] = (s[n - 1] + clip[n - 1]) * g - a * clip[n];
            }
            prev = u;
            ASSERT_EQ(dst[i], s[3] * gain) << level << ' ' << i;
        }
    }
}

TEST(FilterMoogSseTest, OrderOfTheSettersDoesNotMatter) {
    FilterMoogSse a, b;
    a.set_cutoff(3000);
    a.set_resonance(0.5f);
    a.set_sample_freq(96000);
    b.set_sample_freq(96000);
    b.set_resonance(0.5f);
    b.set_cutoff(3000);
    std::vector<float> const src = make_noise(300, 1.0f, 4);
    std::vector<float> x(300), y(300);
    a.process_block(x.data(), src.data(), 300);
    b.process_block(y.data(), src.data(), 300);
    EXPECT_EQ(x, y);
}

TEST(FilterMoogSseTest, ModulationFollowsTheModelAndItsLastCutoffStays) {
    std::vector<float> const src = make_noise(2000, 0.5f, 5);
    std::vector<float> freq(2000);
    for (std::size_t i = 0; i < freq.size(); ++i) {
        freq[i] = 200.0f + 4.0f * static_cast<float>(i);
    }
    std::vector<float> dst(2000);
    FilterMoogSse flt;
    flt.set_resonance(0.6f);
    Model model;
    model.res = 0.6f;
    flt.process_block_fm(dst.data(), src.data(), freq.data(), 2000);
    for (std::size_t i = 0; i < 2000; ++i) {
        model.set_cutoff(freq[i]);
        ASSERT_NEAR(dst[i], model.process(src[i]), 1e-4) << i;
    }
    flt.process_block(dst.data(), src.data(), 500);
    for (std::size_t i = 0; i < 500; ++i) {
        ASSERT_NEAR(dst[i], model.process(src[i]), 1e-4) << i;
    }
}

TEST(FilterMoogSseTest, ConstantModulationEqualsTheSetters) {
    std::vector<float> const src = make_noise(500, 0.5f, 5);
    std::vector<float> const freq(500, 1234.0f);
    std::vector<float> a(500), b(500);
    FilterMoogSse x, y;
    x.set_resonance(0.6f);
    y.set_resonance(0.6f);
    y.set_cutoff(1234.0f);
    x.process_block_fm(a.data(), src.data(), freq.data(), 500);
    y.process_block(b.data(), src.data(), 500);
    EXPECT_EQ(a, b);
}

TEST(FilterMoogSseTest, BlockSizeAndPlaceDoNotChangeTheResult) {
    std::vector<float> const src = make_noise(1000, 2.0f, 6);
    FilterMoogSse whole;
    whole.set_resonance(0.9f);
    std::vector<float> expected(1000);
    whole.process_block(expected.data(), src.data(), 1000);
    std::mt19937 rnd(7);
    for (int trial = 0; trial < 50; ++trial) {
        FilterMoogSse flt;
        flt.set_resonance(0.9f);
        std::vector<float> buf = src;
        for (long pos = 0; pos < 1000;) {
            long const len = std::min(1000 - pos, static_cast<long>(rnd() % 30));
            if (rnd() % 2 == 0) {
                flt.process_block(buf.data() + pos, len);
            } else {
                flt.process_block(buf.data() + pos, buf.data() + pos, len);
            }
            pos += len;
        }
        ASSERT_EQ(buf, expected);
    }
}

TEST(FilterMoogSseTest, SilenceStaysSilent) {
    FilterMoogSse flt;
    flt.set_resonance(1.0f);
    std::vector<float> buf(5000, 0.0f);
    flt.process_block(buf.data(), 5000);
    EXPECT_EQ(buf, std::vector<float>(5000, 0.0f));
    EXPECT_TRUE(flt.check_denormal());
}

TEST(FilterMoogSseTest, TellsDenormals) {
    FilterMoogSse flt;
    EXPECT_TRUE(flt.check_denormal());
    float spl = FLT_MIN / 4; // the previous input
    flt.process_block(&spl, 1);
    EXPECT_FALSE(flt.check_denormal());
    flt.clear_buffers();
    EXPECT_TRUE(flt.check_denormal());
    spl = 4 * FLT_MIN; // the stages
    flt.process_block(&spl, 1);
    EXPECT_FALSE(flt.check_denormal());
    flt.clear_buffers();
    spl = 1.0f;
    flt.process_block(&spl, 1);
    EXPECT_TRUE(flt.check_denormal());
}

TEST(FilterMoogSseTest, ClearingKeepsTheSmoothedGain) {
    std::vector<float> const noise = make_noise(40, 1.0f, 8);
    std::vector<float> buf = noise;
    FilterMoogSse flt;
    flt.set_resonance(1.0f);
    Model model;
    model.res = 1;
    model.set_cutoff(1000);
    flt.process_block(buf.data(), 40);
    for (float x : noise) {
        model.process(x);
    }
    EXPECT_GT(std::fabs(model.gain - 1), 0.05);
    flt.clear_buffers();
    std::fill_n(model.s, 4, 0.0);
    model.prev = 0;
    buf = noise;
    flt.process_block(buf.data(), 40);
    for (std::size_t i = 0; i < 40; ++i) {
        ASSERT_NEAR(buf[i], model.process(noise[i]), 1e-5);
    }
}

// With no resonance and a soft signal it is four one-pole low-passes.
TEST(FilterMoogSseTest, CutsAtTheCutoff) {
    FilterMoogSse flt;
    std::vector<float> impulse(1 << 14);
    impulse[0] = 0.5f;
    flt.process_block(impulse.data(), 1 << 14);
    for (double freq : {10.0, 1000.0, 5000.0}) {
        std::complex<double> sum = 0;
        for (std::size_t i = 0; i < impulse.size(); ++i) {
            double const w = 2 * std::numbers::pi * freq / 44100;
            sum += 2.0 * impulse[i] * std::polar(1.0, -w * static_cast<double>(i));
        }
        double const ratio =
            std::tan(std::numbers::pi * freq / 44100) / std::tan(std::numbers::pi * 1000 / 44100);
        EXPECT_NEAR(std::abs(sum), std::pow(1 + ratio * ratio, -2), 1e-4) << freq;
    }
}

} // namespace
