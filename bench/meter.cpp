// What measuring a stereo mix costs: "ns" is the time of a frame, in blocks of the argument's
// length. "meter" is all of it (peaks, true peak, loudness and its range, clipping, hash); the rows
// beside it are its parts and libebur128's. "noise" is the most work: its level never falls;
// "notes" are decaying tones at random times.

#include "host/render/Meter.h"
#include "host/render/SamplePeak.h"

#include <benchmark/benchmark.h>
#include <ebur128.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

using namespace ulk::host::render;

constexpr long sound_len = 10 * 48000; // frames
constexpr double freq = 48000;

enum Kind { Kind_NOISE, Kind_NOTES, Kind_SILENCE };

struct Sound {
    std::vector<float> left, right, both;

    explicit Sound(Kind kind)
        : left(sound_len)
        , right(sound_len)
        , both(2 * sound_len) {
        std::mt19937 rng(1);
        std::normal_distribution<float> noise(0, 0.1f);
        for (long pos = 0; pos < sound_len && kind == Kind_NOISE; ++pos) {
            left[static_cast<std::size_t>(pos)] = noise(rng);
            right[static_cast<std::size_t>(pos)] = noise(rng);
        }
        for (int note = 0; note < 70 && kind == Kind_NOTES; ++note) {
            add_note(rng);
        }
        for (std::size_t pos = 0; pos < left.size(); ++pos) {
            both[2 * pos] = left[pos];
            both[2 * pos + 1] = right[pos];
        }
    }

    void add_note(std::mt19937& rng) {
        std::uniform_real_distribution<double> uniform(0, 1);
        std::size_t const beg = static_cast<std::size_t>(uniform(rng) * sound_len);
        double const step = 0.01 * std::pow(32, uniform(rng));
        double const pan = uniform(rng);
        for (std::size_t pos = beg; pos < left.size(); ++pos) {
            auto const age = static_cast<double>(pos - beg);
            double const val = 0.2 * std::exp(-age / 20000) * std::sin(step * age);
            left[pos] += static_cast<float>(val * pan);
            right[pos] += static_cast<float>(val * (1 - pan));
        }
    }
};

template <class F>
void run(benchmark::State& state, F push) {
    long const block_len = state.range(0);
    for (auto _ : state) {
        for (long pos = 0; pos < sound_len; pos += block_len) {
            push(pos, std::min(block_len, sound_len - pos));
        }
    }
    state.counters["ns"] = benchmark::Counter(static_cast<double>(sound_len) * 1e-9,
                                              benchmark::Counter::kIsIterationInvariantRate |
                                                  benchmark::Counter::kInvert);
}

template <Kind KIND>
void measure_meter(benchmark::State& state) {
    static Sound const sound(KIND);
    Meter meter(2, freq);
    run(state, [&](long pos, long len) {
        float const* const chn_arr[] = {sound.left.data() + pos, sound.right.data() + pos};
        meter.push(chn_arr, len);
    });
    benchmark::DoNotOptimize(meter.compute_figures().hash);
}

template <Kind KIND>
void measure_loudness(benchmark::State& state) {
    static Sound const sound(KIND);
    Loudness loudness(2, freq);
    run(state, [&](long pos, long len) {
        float const* const chn_arr[] = {sound.left.data() + pos, sound.right.data() + pos};
        loudness.push(chn_arr, len);
    });
    benchmark::DoNotOptimize(loudness.compute_integrated());
}

template <Kind KIND>
void measure_true_peak(benchmark::State& state) {
    static Sound const sound(KIND);
    TruePeak left(freq);
    TruePeak right(freq);
    run(state, [&](long pos, long len) {
        float const* const l = sound.left.data() + pos;
        float const* const r = sound.right.data() + pos;
        left.push(l, len, SamplePeak::find(l, len));
        right.push(r, len, SamplePeak::find(r, len));
    });
    benchmark::DoNotOptimize(left.get_peak() + right.get_peak());
}

template <Kind KIND>
void measure_hash(benchmark::State& state) {
    static Sound const sound(KIND);
    SoundHash hash(2);
    run(state, [&](long pos, long len) {
        float const* const chn_arr[] = {sound.left.data() + pos, sound.right.data() + pos};
        hash.push(chn_arr, len);
    });
    benchmark::DoNotOptimize(hash.get_hash());
}

template <Kind KIND, int MODE>
void measure_ebur128(benchmark::State& state) {
    static Sound const sound(KIND);
    ebur128_state* ebur = ebur128_init(2, static_cast<unsigned long>(freq), MODE);
    run(state, [&](long pos, long len) {
        ebur128_add_frames_float(ebur, sound.both.data() + 2 * pos, static_cast<std::size_t>(len));
    });
    ebur128_destroy(&ebur);
}

constexpr int mode_loudness = EBUR128_MODE_I | EBUR128_MODE_LRA | EBUR128_MODE_HISTOGRAM;
constexpr int mode_peak = EBUR128_MODE_TRUE_PEAK;

#define BENCH_METER(function, name) BENCHMARK(function)->Name(name)->Arg(64)->Arg(256)->Arg(1024)
#define BENCH_PART(function, name) BENCHMARK(function)->Name(name)->Arg(256)

BENCH_METER(measure_meter<Kind_NOISE>, "meter_noise/tessitone");
BENCH_METER((measure_ebur128<Kind_NOISE, mode_loudness | mode_peak>), "meter_noise/libebur128");
BENCH_METER(measure_meter<Kind_NOTES>, "meter_notes/tessitone");
BENCH_METER((measure_ebur128<Kind_NOTES, mode_loudness | mode_peak>), "meter_notes/libebur128");
BENCH_METER(measure_meter<Kind_SILENCE>, "meter_silence/tessitone");
BENCH_METER((measure_ebur128<Kind_SILENCE, mode_loudness | mode_peak>), "meter_silence/libebur128");
BENCH_PART(measure_loudness<Kind_NOISE>, "loudness/tessitone");
BENCH_PART((measure_ebur128<Kind_NOISE, mode_loudness>), "loudness/libebur128");
BENCH_PART(measure_true_peak<Kind_NOISE>, "true_peak_noise/tessitone");
BENCH_PART((measure_ebur128<Kind_NOISE, mode_peak>), "true_peak_noise/libebur128");
BENCH_PART(measure_true_peak<Kind_NOTES>, "true_peak_notes/tessitone");
BENCH_PART((measure_ebur128<Kind_NOTES, mode_peak>), "true_peak_notes/libebur128");
BENCH_PART(measure_hash<Kind_NOISE>, "hash/tessitone");

} // namespace
