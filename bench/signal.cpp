// The small blocks of the signal library against the plainest loop for the same result. "ns" is the
// time of an output sample.

#include "halfband/Downsampler2xFpu.h"
#include "ulk/dsp/Biquad.h"
#include "ulk/dsp/FilterMoogSse.h"
#include "ulk/dsp/SweepingSin.h"
#include "ulk/dsp/wnd/DolphCheby.h"
#include "ulk/dsp/wnd/Kaiser.h"
#include "ulk/dsp/wnd/Ultraspherical.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <numbers>
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
void run(benchmark::State& state, long len, F fnc) {
    for (auto _ : state) {
        fnc();
        benchmark::ClobberMemory();
    }
    state.counters["ns"] =
        benchmark::Counter(static_cast<double>(state.iterations() * len) * 1e-9,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void run_halfband(benchmark::State& state) {
    double const coefs[8] = {0.0771, 0.2659, 0.4820, 0.6651, 0.7968, 0.8841, 0.9412, 0.9820};
    halfband::Downsampler2xFpu<8> dspl;
    dspl.set_coefs(coefs);
    Buffer const src = make_noise(2 * LEN);
    Buffer dst(LEN);
    run(state, LEN, [&] { dspl.process_block(dst.data(), src.data(), LEN); });
}
BENCHMARK(run_halfband);

// Sample by sample, with the state in memory.
void run_halfband_plain(benchmark::State& state) {
    float coef[8] = {0.0771f, 0.2659f, 0.4820f, 0.6651f, 0.7968f, 0.8841f, 0.9412f, 0.9820f};
    float x[8] = {};
    float y[8] = {};
    Buffer const src = make_noise(2 * LEN);
    Buffer dst(LEN);
    benchmark::DoNotOptimize(coef);
    run(state, LEN, [&] {
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
BENCHMARK(run_halfband_plain);

void run_biquad(benchmark::State& state) {
    ulk::dsp::Biquad flt;
    flt.set_coefs(0.2f, 0.4f, 0.2f, -0.5f, 0.3f);
    Buffer const src = make_noise(LEN);
    Buffer dst(LEN);
    run(state, LEN, [&] { flt.process_block(dst.data(), src.data(), LEN); });
}
BENCHMARK(run_biquad);

void run_biquad_ramp(benchmark::State& state) {
    ulk::dsp::Biquad flt;
    float const inc[3] = {};
    flt.set_coefs(0.2f, 0.4f, 0.2f, -0.5f, 0.3f);
    Buffer const src = make_noise(LEN);
    Buffer dst(LEN);
    run(state, LEN, [&] { flt.process_block(dst.data(), src.data(), LEN, inc, inc); });
}
BENCHMARK(run_biquad_ramp);

void run_biquad_plain(benchmark::State& state) {
    float c[5] = {0.2f, 0.4f, 0.2f, -0.5f, 0.3f};
    float m[4] = {};
    Buffer const src = make_noise(LEN);
    Buffer dst(LEN);
    benchmark::DoNotOptimize(c);
    run(state, LEN, [&] {
        for (std::size_t i = 0; i < LEN; ++i) {
            float const y = c[0] * src[i] + c[1] * m[0] + c[2] * m[1] - (c[3] * m[2] + c[4] * m[3]);
            m[1] = m[0];
            m[0] = src[i];
            m[3] = m[2];
            dst[i] = m[2] = y;
        }
    });
}
BENCHMARK(run_biquad_plain);

void run_ladder(benchmark::State& state) {
    ulk::dsp::FilterMoogSse flt;
    flt.set_resonance(0.7f);
    Buffer src = make_noise(LEN);
    Buffer dst(LEN);
    for (float& x : src) {
        x *= static_cast<float>(state.range(0)); // above 1 it clips
    }
    run(state, LEN, [&] { flt.process_block(dst.data(), src.data(), LEN); });
}
BENCHMARK(run_ladder)->Arg(1)->Arg(4);

void run_ladder_fm(benchmark::State& state) {
    ulk::dsp::FilterMoogSse flt;
    flt.set_resonance(0.7f);
    Buffer const src = make_noise(LEN);
    Buffer const freq(LEN, 1500.0f);
    Buffer dst(LEN);
    run(state, LEN, [&] { flt.process_block_fm(dst.data(), src.data(), freq.data(), LEN); });
}
BENCHMARK(run_ladder_fm);

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
    run(state, LEN, [&] {
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
BENCHMARK(run_ladder_plain)->Arg(1)->Arg(4);

void run_sine(benchmark::State& state) {
    Buffer dst(LEN);
    double const freq_end = static_cast<double>(state.range(0));
    ulk::dsp::SweepingSin const gen(44100, 1000, freq_end);
    run(state, LEN, [&] { gen.generate(dst.data(), LEN); });
}
BENCHMARK(run_sine)->ArgName("freq_end")->Arg(1000)->Arg(8000)->Arg(100);

// The cost of the one call that a sine can't do without.
void run_sine_plain(benchmark::State& state) {
    Buffer dst(LEN);
    double step = 0.142;
    benchmark::DoNotOptimize(step);
    run(state, LEN, [&] {
        for (std::size_t i = 0; i < LEN; ++i) {
            dst[i] = static_cast<float>(std::sin(step * static_cast<double>(i)));
        }
    });
}
BENCHMARK(run_sine_plain);

template <class T>
void run_window(benchmark::State& state, T wnd) {
    std::vector<double> data(LEN);
    run(state, LEN, [&] { wnd.make_win(data.data(), LEN); });
}
BENCHMARK_CAPTURE(run_window, kaiser, ulk::dsp::wnd::Kaiser(4));
BENCHMARK_CAPTURE(run_window, dolph_cheby, ulk::dsp::wnd::DolphCheby(0.001));
BENCHMARK_CAPTURE(run_window, ultraspherical, ulk::dsp::wnd::Ultraspherical(1, 1.0001));

// The sum of harmonics as it is written, with a cosine a term.
void run_window_plain(benchmark::State& state) {
    std::vector<double> data(LEN);
    std::vector<double> spectrum(LEN / 2, 0.5);
    run(state, LEN, [&] {
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
BENCHMARK(run_window_plain);

} // namespace
