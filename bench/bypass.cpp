// What passing a block through the bundle costs: Bypass against memcpy of the same bytes, and a
// PROCESS on no pin at all.

#include "host/Bundle.h"
#include "host/PinBuffers.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace {

using Dsp = kryn::PluginDsp;
constexpr long max_len = 4096;

std::unique_ptr<ulk::host::Plugin> make_bypass(ulk::host::PinConf const& conf) {
    ulk::host::Bundle bundle(BUILD_DIR "/baplug.so");
    auto plugin = bundle.instantiate("Brevanto#TessitoneBypass");
    plugin->set_sample_freq(48000);
    plugin->set_process_block_len(max_len);
    plugin->set_pin_conf(conf);
    plugin->activate();
    return plugin;
}

struct Stereo {
    ulk::host::PinBuffers in{{2}, max_len};
    ulk::host::PinBuffers out{{2}, max_len};
};

void run_bypass(benchmark::State& state) {
    auto const plugin = make_bypass({{2}, {2}});
    Stereo bufs;
    Dsp::CmdPlug::Process block = {
        bufs.in.use_port(), bufs.out.use_port(), {nullptr, 0}, state.range(0)};
    for (auto _ : state) {
        bufs.out.set_all_states(Dsp::State_SIGNAL);
        plugin->process(block);
        benchmark::ClobberMemory();
    }
}

void run_memcpy(benchmark::State& state) {
    Stereo bufs;
    std::size_t const bytes = static_cast<std::size_t>(state.range(0)) * sizeof(float);
    for (auto _ : state) {
        for (long chn = 0; chn < 2; ++chn) {
            std::memcpy(bufs.out.use_chn(0, chn), bufs.in.use_chn(0, chn), bytes);
        }
        benchmark::ClobberMemory();
    }
}

void run_no_pin(benchmark::State& state) {
    auto const plugin = make_bypass({{}, {}});
    Dsp::CmdPlug::Process block = {{nullptr}, {nullptr}, {nullptr, 0}, 64};
    for (auto _ : state) {
        plugin->process(block);
        benchmark::ClobberMemory();
    }
}

BENCHMARK(run_memcpy)
    ->Name("Bypass of a stereo pin/memcpy")
    ->RangeMultiplier(4)
    ->Range(64, max_len);
BENCHMARK(run_bypass)
    ->Name("Bypass of a stereo pin/tessitone")
    ->RangeMultiplier(4)
    ->Range(64, max_len);
BENCHMARK(run_no_pin)->Name("PROCESS on no pin/tessitone");

} // namespace
