// The small blocks of the signal library against the plainest loop for the same result, on blocks
// and windows of 1024 samples.

#include "halfband/Downsampler2xFpu.h"
#include "ulk/dsp/Biquad.h"
#include "ulk/dsp/FilterMoogSse.h"
#include "ulk/dsp/GenWhiteNoiseFast.h"
#include "ulk/dsp/SweepingSin.h"
#include "ulk/dsp/wnd/CosineSum.h"
#include "ulk/dsp/wnd/DolphCheby.h"
#include "ulk/dsp/wnd/HannPoisson.h"
#include "ulk/dsp/wnd/Kaiser.h"
#include "ulk/dsp/wnd/Ultraspherical.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace {

using Buffer = std::vector<float>;
constexpr long LEN = 1024;

Buffer make_noise(long len) {
    Buffer buf(static_cast<std::size_t>(len));
    unsigned int seed = 1;
    for (float& x : buf) {
        seed = seed * 1664525U + 1013904223U;
        x = static_cast<float>(seed) / 2147483648.0f - 1.0f;
    }
    return buf;
}

template <class F>
void run(benchmark::State& state, F fnc) {
    for (auto _ : state) {
        fnc();
        benchmark::ClobberMemory();
    }
}

void run_halfband(benchmark::State& state) {
    double const coefs[8] = {0.0771, 0.2659, 0.4820, 0.6651, 0.7968, 0.8841, 0.9412, 0.9820};
    halfband::Downsampler2xFpu<8> dspl;
    dspl.set_coefs(coefs);
    Buffer const src = make_noise(2 * LEN);
    Buffer dst(LEN);
    run(state, [&] { dspl.process_block(dst.data(), src.data(), LEN); });
}
BENCHMARK(run_halfband)->Name("halfband/tessitone");

// Sample by sample, with the state in memory.
void run_halfband_plain(benchmark::State& state) {
    float coef[8] = {0.0771f, 0.2659f, 0.4820f, 0.6651f, 0.7968f, 0.8841f, 0.9412f, 0.9820f};
    float x[8] = {};
    float y[8] = {};
    Buffer const src = make_noise(2 * LEN);
    Buffer dst(LEN);
    benchmark::DoNotOptimize(coef);
    run(state, [&] {
        for (std::size_t i = 0; i < LEN; ++i) {
            float branch[2] = {src[2 * i + 1], src[2 * i]};
            for (int k = 0; k < 8; ++k) {
                float const out = (branch[k & 1] - y[k]) * coef[k] + x[k];
                x[k] = branch[k & 1];
                branch[k & 1] = y[k] = out;
            }
            dst[i] = (branch[0] + branch[1]) * 0.5f;
        }
    });
}
BENCHMARK(run_halfband_plain)->Name("halfband/plain");

void run_biquad(benchmark::State& state) {
    ulk::dsp::Biquad flt;
    flt.set_coefs(0.2f, 0.4f, 0.2f, -0.5f, 0.3f);
    Buffer const src = make_noise(LEN);
    Buffer dst(LEN);
    run(state, [&] { flt.process_block(dst.data(), src.data(), LEN); });
}
BENCHMARK(run_biquad)->Name("biquad/tessitone");

void run_biquad_ramp(benchmark::State& state) {
    ulk::dsp::Biquad flt;
    float const inc[3] = {};
    flt.set_coefs(0.2f, 0.4f, 0.2f, -0.5f, 0.3f);
    Buffer const src = make_noise(LEN);
    Buffer dst(LEN);
    run(state, [&] { flt.process_block(dst.data(), src.data(), LEN, inc, inc); });
}
BENCHMARK(run_biquad_ramp)->Name("biquad/tessitone, increments");

void run_biquad_plain(benchmark::State& state) {
    float c[5] = {0.2f, 0.4f, 0.2f, -0.5f, 0.3f};
    float m[4] = {};
    Buffer const src = make_noise(LEN);
    Buffer dst(LEN);
    benchmark::DoNotOptimize(c);
    run(state, [&] {
        for (std::size_t i = 0; i < LEN; ++i) {
            float const y = c[0] * src[i] + c[1] * m[0] + c[2] * m[1] - (c[3] * m[2] + c[4] * m[3]);
            m[1] = m[0];
            m[0] = src[i];
            m[3] = m[2];
            dst[i] = m[2] = y;
        }
    });
}
BENCHMARK(run_biquad_plain)->Name("biquad/plain");

void run_ladder(benchmark::State& state) {
    ulk::dsp::FilterMoogSse flt;
    flt.set_resonance(0.7f);
    Buffer src = make_noise(LEN);
    Buffer dst(LEN);
    for (float& x : src) {
        x *= static_cast<float>(state.range(0)); // above 1 it clips
    }
    run(state, [&] { flt.process_block(dst.data(), src.data(), LEN); });
}
BENCHMARK(run_ladder)->Name("ladder/tessitone")->Arg(1)->Arg(4);

void run_ladder_fm(benchmark::State& state) {
    ulk::dsp::FilterMoogSse flt;
    flt.set_resonance(0.7f);
    Buffer const src = make_noise(LEN);
    Buffer const freq(LEN, 1500.0f);
    Buffer dst(LEN);
    run(state, [&] { flt.process_block_fm(dst.data(), src.data(), freq.data(), LEN); });
}
BENCHMARK(run_ladder_fm)->Name("ladder/tessitone, modulated/1");

// The same arithmetic as a loop over locals.
void run_ladder_plain(benchmark::State& state) {
    float s[4] = {};
    float prev = 0, gain = 1;
    float par[4] = {2.2f, -0.87f, 0.065f, 1.1f}; // k, a, g, target
    Buffer src = make_noise(LEN);
    Buffer dst(LEN);
    for (float& x : src) {
        x *= static_cast<float>(state.range(0));
    }
    benchmark::DoNotOptimize(par);
    run(state, [&] {
        for (std::size_t i = 0; i < LEN; ++i) {
            gain += (par[3] - gain) * 0.00390625f;
            float const t = std::clamp(s[3] + 0.125f, -1.0f, 1.0f);
            float const u = src[i] - par[0] * (t + (std::fabs(t) - t * t) * t - 0.138671875f);
            float c[4];
            for (int k = 0; k < 4; ++k) {
                float const d = s[k] - std::clamp(s[k], -1.0f, 1.0f);
                c[k] = s[k] - d * std::fabs(d) * 0.5f;
            }
            s[0] = (u + prev) * par[2] - par[1] * c[0];
            for (int k = 1; k < 4; ++k) {
                s[k] = (s[k - 1] + c[k - 1]) * par[2] - par[1] * c[k];
            }
            prev = u;
            dst[i] = s[3] * gain;
        }
    });
}
BENCHMARK(run_ladder_plain)->Name("ladder/plain")->Arg(1)->Arg(4);

void run_sine(benchmark::State& state) {
    Buffer dst(LEN);
    double const freq_end = static_cast<double>(state.range(0));
    ulk::dsp::SweepingSin const gen(44100, 1000, freq_end);
    run(state, [&] { gen.generate(dst.data(), LEN); });
}
BENCHMARK(run_sine)->Name("sweep/tessitone")->Arg(1000)->Arg(8000)->Arg(100); // last frequency

// The cost of the one call that a sine can't do without.
void run_sine_plain(benchmark::State& state) {
    Buffer dst(LEN);
    double step = 0.142;
    benchmark::DoNotOptimize(step);
    run(state, [&] {
        for (std::size_t i = 0; i < LEN; ++i) {
            dst[i] = static_cast<float>(std::sin(step * static_cast<double>(i)));
        }
    });
}
BENCHMARK(run_sine_plain)->Name("sweep/sin")->Arg(1000)->Arg(8000)->Arg(100);

void run_noise(benchmark::State& state) {
    ulk::dsp::GenWhiteNoiseFast gen;
    Buffer dst(LEN);
    run(state, [&] { gen.process_block(dst.data(), LEN); });
}
BENCHMARK(run_noise)->Name("noise/tessitone");

// The same generator with its state turned into a float by arithmetic.
void run_noise_plain(benchmark::State& state) {
    Buffer dst(LEN);
    unsigned int seed = 1;
    run(state, [&] {
        for (float& x : dst) {
            x = static_cast<float>(static_cast<int>(seed)) * (1.0f / 2147483648.0f);
            seed = seed * 1664525U + 1013904223U;
        }
    });
}
BENCHMARK(run_noise_plain)->Name("noise/conversion");

void run_noise_std(benchmark::State& state) {
    Buffer dst(LEN);
    std::minstd_rand gen;
    std::uniform_real_distribution<float> dist(-1.0f, 1.0f);
    run(state, [&] { std::generate(dst.begin(), dst.end(), [&] { return dist(gen); }); });
}
BENCHMARK(run_noise_std)->Name("noise/std::minstd_rand");

template <class T>
void run_window(benchmark::State& state, T wnd) {
    std::vector<double> data(LEN);
    run(state, [&] { wnd.make_win(data.data(), LEN); });
}

// The formulas as they are written, with a call of the C library a term.
template <bool GEGENBAUER_FLAG>
void run_harmonics_plain(benchmark::State& state) {
    std::vector<double> data(LEN);
    std::vector<double> spectrum(LEN / 2, 0.5);
    run(state, [&] {
        for (std::size_t k = 0; GEGENBAUER_FLAG && k < LEN / 2; ++k) {
            double const x = 1.0001 * std::cos(std::numbers::pi / LEN * static_cast<double>(k));
            spectrum[k] = ulk::dsp::wnd::Ultraspherical::compute_c(LEN, 1, x);
        }
        for (std::size_t i = 0; i < LEN / 2; ++i) {
            double sum = 0;
            for (std::size_t k = 1; k < LEN / 2; ++k) {
                sum += spectrum[k] *
                       std::cos(2 * std::numbers::pi / (LEN - 1) * static_cast<double>(i * k));
            }
            data[LEN / 2 + i] = data[LEN / 2 - 1 - i] = sum;
        }
    });
}
void run_cosines_plain(benchmark::State& state) {
    std::vector<double> data(LEN);
    double coefs[4] = {0.36, -0.49, 0.14, -0.01};
    benchmark::DoNotOptimize(coefs);
    run(state, [&] {
        for (std::size_t i = 0; i < LEN; ++i) {
            double const x = 6.1e-6 * static_cast<double>(i);
            data[i] = coefs[0] + coefs[1] * std::cos(x) + coefs[2] * std::cos(2 * x) +
                      coefs[3] * std::cos(3 * x);
        }
    });
}
void run_hann_plain(benchmark::State& state) {
    std::vector<double> data(LEN);
    double alpha = 2;
    benchmark::DoNotOptimize(alpha);
    run(state, [&] {
        for (std::size_t i = 0; i < LEN; ++i) {
            double const t = static_cast<double>(i) / (LEN / 2) - 1;
            data[i] =
                (0.5 + 0.5 * std::cos(std::numbers::pi * t)) * std::exp(-alpha * std::fabs(t));
        }
    });
}

int const registered = [] {
    namespace wnd = ulk::dsp::wnd;
    auto const add = [](char const* group, auto window, void (*plain)(benchmark::State&)) {
        auto const fnc = [window](benchmark::State& state) { run_window(state, window); };
        benchmark::RegisterBenchmark((std::string(group) + "/tessitone").c_str(), fnc);
        if (plain != nullptr) {
            benchmark::RegisterBenchmark((std::string(group) + "/plain").c_str(), plain);
        }
    };
    add("cosine_sum", wnd::CosineSum(3), &run_cosines_plain);
    add("hann_poisson", wnd::HannPoisson(2), &run_hann_plain);
    add("kaiser", wnd::Kaiser(4), nullptr);
    add("dolph_cheby", wnd::DolphCheby(0.001), &run_harmonics_plain<false>);
    add("ultraspherical", wnd::Ultraspherical(1, 1.0001), &run_harmonics_plain<true>);
    return 0;
}();

} // namespace
