#include "ulk/dsp/Biquad.h"

#include <array>
#include <cmath>
#include <numbers>

namespace {

using ulk::dsp::Biquad;

std::vector<float> make_noise(std::size_t len, unsigned seed) {
    std::mt19937 rnd(seed);
    std::uniform_real_distribution<float> dist(-1.0f, 1.0f);
    std::vector<float> noise(len);
    std::generate(noise.begin(), noise.end(), [&] { return dist(rnd); });
    return noise;
}

// Transposed direct form II in double precision: another structure with the same response.
struct Model {
    std::array<double, 5> c = {1, 0, 0, 0, 0}; // b0 b1 b2 a1 a2
    double z1 = 0;
    double z2 = 0;

    double process(double x) {
        double const y = c[0] * x + z1;
        z1 = c[1] * x - c[3] * y + z2;
        z2 = c[2] * x - c[4] * y;
        return y;
    }
};

void set_coefs(Biquad& flt, std::array<float, 5> const& c) {
    flt.set_coefs(c[0], c[1], c[2], c[3], c[4]);
}

// A stable filter with poles of a radius below 0.95.
std::array<float, 5> make_coefs(std::mt19937& rnd) {
    std::uniform_real_distribution<double> dist(0, 1);
    double const radius = 0.95 * dist(rnd);
    double const angle = std::numbers::pi * dist(rnd);
    auto const zero = [&] { return static_cast<float>(2 * dist(rnd) - 1); };
    return {zero(), zero(), zero(), static_cast<float>(-2 * radius * std::cos(angle)),
            static_cast<float>(radius * radius)};
}

TEST(BiquadTest, NewFilterCopiesItsInput) {
    std::vector<float> const src = make_noise(101, 1);
    std::vector<float> dst(101);
    Biquad().process_block(dst.data(), src.data(), 101);
    EXPECT_EQ(dst, src);
}

TEST(BiquadTest, FollowsTheModel) {
    std::mt19937 rnd(2);
    for (unsigned trial = 0; trial < 100; ++trial) {
        std::array<float, 5> const coefs = make_coefs(rnd);
        std::vector<float> const src = make_noise(500, trial);
        std::vector<float> dst(500);
        Biquad flt;
        set_coefs(flt, coefs);
        flt.process_block(dst.data(), src.data(), 500);
        Model model;
        std::copy(coefs.begin(), coefs.end(), model.c.begin());
        for (std::size_t i = 0; i < 500; ++i) {
            ASSERT_NEAR(dst[i], model.process(src[i]), 1e-3) << trial << ' ' << i;
        }
    }
}

TEST(BiquadTest, BlockSizeDoesNotChangeTheResult) {
    std::mt19937 rnd(3);
    std::array<float, 5> const coefs = make_coefs(rnd);
    std::vector<float> const src = make_noise(1000, 9);
    std::array<float, 3> const inc_b = {1e-4f, -2e-4f, 3e-5f};
    std::array<float, 2> const inc_a = {1e-5f, -2e-5f};
    for (bool ramp_flag : {false, true}) {
        auto const run = [&](Biquad& flt, float* d, float const* s, long len) {
            if (ramp_flag) {
                flt.process_block(d, s, len, inc_b.data(), inc_a.data());
            } else {
                flt.process_block(d, s, len);
            }
        };
        Biquad whole;
        set_coefs(whole, coefs);
        std::vector<float> expected(1000);
        run(whole, expected.data(), src.data(), 1000);
        for (int trial = 0; trial < 200; ++trial) {
            Biquad flt;
            set_coefs(flt, coefs);
            std::vector<float> buf = src; // in place
            for (long pos = 0; pos < 1000;) {
                long const len = std::min(1000 - pos, static_cast<long>(rnd() % 8));
                run(flt, buf.data() + pos, buf.data() + pos, len);
                pos += len;
            }
            ASSERT_EQ(buf, expected);
        }
    }
}

TEST(BiquadTest, IncrementsActAfterEachSampleAndStay) {
    std::vector<float> const src = make_noise(301, 4);
    std::array<float, 3> const inc_b = {0.001f, -0.002f, 0.0005f};
    std::array<float, 2> const inc_a = {-0.001f, 0.0005f};
    std::array<float, 5> coefs = {0.5f, 0.25f, 0.125f, -0.5f, 0.25f};
    Biquad flt;
    set_coefs(flt, coefs);
    std::vector<float> dst(400);
    flt.process_block(dst.data(), src.data(), 301, inc_b.data(), inc_a.data());

    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    auto const step = [&](double x) {
        double const y =
            coefs[0] * x + coefs[1] * x1 + coefs[2] * x2 - (coefs[3] * y1 + coefs[4] * y2);
        x2 = std::exchange(x1, x);
        y2 = std::exchange(y1, y);
        return y;
    };
    for (std::size_t i = 0; i < 301; ++i) {
        ASSERT_NEAR(dst[i], step(src[i]), 1e-4) << i;
        for (std::size_t k = 0; k < 5; ++k) {
            coefs[k] += k < 3 ? inc_b[k] : inc_a[k - 3];
        }
    }
    flt.process_block(dst.data(), src.data(), 100); // with the final coefficients
    for (std::size_t i = 0; i < 100; ++i) {
        ASSERT_NEAR(dst[i], step(src[i]), 1e-4) << i;
    }
}

TEST(BiquadTest, ClearingForgetsTheSignalAlone) {
    std::mt19937 rnd(6);
    std::array<float, 5> const coefs = make_coefs(rnd);
    std::vector<float> const src = make_noise(100, 1);
    Biquad fresh, used;
    set_coefs(fresh, coefs);
    set_coefs(used, coefs);
    std::vector<float> a(100), b(100);
    used.process_block(b.data(), src.data(), 99);
    used.clear_buffers();
    fresh.process_block(a.data(), src.data(), 100);
    used.process_block(b.data(), src.data(), 100);
    EXPECT_EQ(a, b);
}

TEST(BiquadTest, EmptyBlockChangesNothing) {
    Biquad flt;
    float const one = 1.0f;
    float out = 5.0f;
    flt.set_coefs(0, 1, 0, 0, 0);
    flt.process_block(&out, &one, 0);
    EXPECT_EQ(out, 5.0f);
    flt.process_block(&out, &one, 1);
    EXPECT_EQ(out, 0.0f);
    flt.process_block(&out, &one, 0);
    flt.process_block(&out, &one, 1);
    EXPECT_EQ(out, 1.0f);
}

} // namespace
