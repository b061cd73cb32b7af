// What playing a sample at another rate costs, and how clean it is: the voice with both
// interpolators against libsamplerate and soxr. "ns" is the time of an output frame of one channel,
// the "dB_" columns the signal-to-noise ratio of a sine that sweeps through an octave up to that
// frequency, at 48 kHz, against the sine itself at the positions asked for.

#include "ulk/dsp/SplDataRetrievalInterface.h"
#include "ulk/dsp/SweepingSin.h"
#include "ulk/dsp/rspl/InterpolatorHermite43.h"
#include "ulk/dsp/rspl/InterpolatorLerp.h"
#include "ulk/dsp/rspl/Voice.h"

#include <benchmark/benchmark.h>
#ifdef HAS_RIVALS
#include <samplerate.h>
#include <soxr.h>
#endif

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

namespace {

using namespace ulk::dsp::rspl;
using Buffer = std::vector<float>;
using Resample = std::function<void(Buffer& dst, Buffer const& src, double rate)>;

constexpr double SAMPLE_FREQ = 48000;
constexpr long SRC_LEN = 1 << 16;
constexpr double RATE = 0.918367346938775; // source frames per output frame: 44.1 kHz at 48 kHz
constexpr long BLOCK_LEN = 512;

class Memory : public ulk::dsp::SplDataRetrievalInterface {
public:
    explicit Memory(Buffer const& buf)
        : _buf(buf) {}

protected:
    void do_get_data(float** chn_arr, long long pos, long nbr_spl, bool) override {
        std::copy_n(_buf.begin() + pos, nbr_spl, chn_arr[0]);
    }

private:
    Buffer const& _buf;
};

template <class T>
void resample_voice(Buffer& dst, Buffer const& src, double rate) {
    static T interp;
    static Buffer tmp(2048);
    static Voice voice;
    Memory memory(src);
    voice.set_interpolator(interp);
    voice.set_tmp_buf(tmp.data(), static_cast<long>(tmp.size()));
    voice.activate(memory, static_cast<long long>(src.size()), 1, SAMPLE_FREQ);
    voice.set_rate(rate, 0);
    voice.start(false);
    long const len = static_cast<long>(dst.size());
    for (long pos = 0; pos < len; pos += BLOCK_LEN) {
        float* ptr = dst.data() + pos;
        voice.process_block(&ptr, std::min(BLOCK_LEN, len - pos));
    }
}

#ifdef HAS_RIVALS
template <int TYPE>
void resample_src(Buffer& dst, Buffer const& src, double rate) {
    SRC_DATA data = {};
    data.data_in = src.data();
    data.data_out = dst.data();
    data.input_frames = static_cast<long>(src.size());
    data.output_frames = static_cast<long>(dst.size());
    data.src_ratio = 1 / rate;
    src_simple(&data, TYPE, 1);
}

template <unsigned long QUALITY>
void resample_soxr(Buffer& dst, Buffer const& src, double rate) {
    soxr_quality_spec_t const quality = soxr_quality_spec(QUALITY, 0);
    soxr_oneshot(rate, 1, 1, src.data(), src.size(), nullptr, dst.data(), dst.size(), nullptr,
                 nullptr, &quality, nullptr);
}
#endif

Buffer make_dst(double rate) {
    return Buffer(static_cast<std::size_t>(static_cast<double>(SRC_LEN) / rate) - 10);
}

// The edges, where filters ring, are left out.
double measure_snr(Resample const& resample, double rate, double freq_end) {
    double const freq_beg = freq_end / 2;
    Buffer src(SRC_LEN);
    ulk::dsp::SweepingSin(SAMPLE_FREQ, freq_beg, freq_end).generate(src.data(), SRC_LEN);
    Buffer dst = make_dst(rate);
    resample(dst, src, rate);
    double const k = std::log(freq_end / freq_beg) / SRC_LEN;
    double const d = 2 * std::numbers::pi * freq_beg / SAMPLE_FREQ / k;
    double signal = 0;
    double noise = 0;
    for (std::size_t i = 1000; i < dst.size() - 1000; ++i) {
        double const x = std::sin(d * std::expm1(k * static_cast<double>(i) * rate));
        signal += x * x;
        noise += (dst[i] - x) * (dst[i] - x);
    }
    return 10 * std::log10(signal / noise);
}

void run(benchmark::State& state, Resample const& resample) {
    Buffer src(SRC_LEN);
    ulk::dsp::SweepingSin(SAMPLE_FREQ, 20, 20000).generate(src.data(), SRC_LEN);
    Buffer dst = make_dst(RATE);
    for (auto _ : state) {
        resample(dst, src, RATE);
        benchmark::ClobberMemory();
    }
    state.counters["ns"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * static_cast<double>(dst.size()) * 1e-9,
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    for (double freq : {500.0, 1000.0, 2000.0, 4000.0, 8000.0, 16000.0}) {
        state.counters["dB_" + std::to_string(static_cast<int>(freq))] =
            measure_snr(resample, RATE, freq);
    }
}

BENCHMARK_CAPTURE(run, lerp, resample_voice<InterpolatorLerp>)->Name("line/tessitone");
BENCHMARK_CAPTURE(run, hermite, resample_voice<InterpolatorHermite43>)->Name("cubic/tessitone");
#ifdef HAS_RIVALS
BENCHMARK_CAPTURE(run, src_linear, resample_src<SRC_LINEAR>)->Name("line/libsamplerate linear");
BENCHMARK_CAPTURE(run, soxr_quick, resample_soxr<SOXR_QQ>)->Name("cubic/soxr quick");
BENCHMARK_CAPTURE(run, soxr_high, resample_soxr<SOXR_HQ>)->Name("cubic/soxr high");
BENCHMARK_CAPTURE(run, src_sinc, resample_src<SRC_SINC_FASTEST>)
    ->Name("cubic/libsamplerate fastest sinc");
#endif

} // namespace
