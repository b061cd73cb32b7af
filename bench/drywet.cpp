// The mixer on a stereo pin of 512 frames: at rest, along one ramp, with an event every 64 frames;
// beside the plainest loop that gives the same sum, and two copies. Then a pin that is silent.

#include "host/Bundle.h"
#include "host/PinBuffers.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace {

using Dsp = kryn::PluginDsp;
constexpr long len = 512;

// An instance that lets the wet signal through, with its buffers and events.
struct Mixer {
    Mixer() {
        ulk::host::Bundle bundle(BUILD_DIR "/baplug.so");
        plugin = bundle.instantiate("Brevanto#TessitoneDryWet");
        plugin->init();
        plugin->set_sample_freq(48000);
        plugin->set_process_block_len(len);
        plugin->set_pin_conf({{2, 2}, {2}});
        plugin->activate();
        plugin->clear_buffers();
        for (long pin = 0; pin < 2; ++pin) {
            for (long chn = 0; chn < 2; ++chn) {
                for (long i = 0; i < len; ++i) {
                    in.use_chn(pin, chn)[i] = static_cast<float>(i % 31) * 0.01f + 0.1f;
                }
            }
        }
    }
    void add_event(long timestamp, int index, double beg, double end, long ramp_len) {
        Dsp::Event evt = {};
        evt.type = Dsp::EventType_PARAM;
        evt.timestamp = timestamp;
        evt.param = {{kryn::ParamScope_GLOBAL, 0, index}, ramp_len, beg, end};
        evt_arr.push_back(evt);
    }
    void make_block() {
        ptr_arr.clear();
        for (auto const& evt : evt_arr) {
            ptr_arr.push_back(&evt);
        }
        long const nbr_evt = static_cast<long>(ptr_arr.size());
        block = {in.use_port(), out.use_port(), {ptr_arr.data(), nbr_evt}, len};
        out.set_all_states(Dsp::State_SIGNAL);
    }
    void run(benchmark::State& state) {
        make_block();
        for (auto _ : state) {
            out.use_pin(0).state = Dsp::State_SIGNAL;
            plugin->process(block);
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(state.iterations() * len);
    }

    std::unique_ptr<ulk::host::Plugin> plugin;
    ulk::host::PinBuffers in{{2, 2}, len};
    ulk::host::PinBuffers out{{2}, len};
    std::vector<Dsp::Event> evt_arr;
    std::vector<Dsp::Event const*> ptr_arr;
    Dsp::CmdPlug::Process block = {};
};

void run_unity(benchmark::State& state) {
    Mixer().run(state);
}
void run_level(benchmark::State& state) {
    Mixer mixer;
    mixer.add_event(0, 1, 0, 0.5, 0);
    mixer.make_block();
    mixer.plugin->process(mixer.block);
    mixer.plugin->clear_buffers();
    mixer.evt_arr.clear();
    mixer.run(state);
}
void run_ramp(benchmark::State& state) {
    Mixer mixer;
    mixer.add_event(0, 1, 0.25, 0.75, len);
    mixer.run(state);
}
void run_events(benchmark::State& state) {
    Mixer mixer;
    for (long pos = 0; pos < len; pos += 64) {
        bool const up_flag = pos % 128 == 0;
        mixer.add_event(pos, 1, up_flag ? 0.25 : 0.75, up_flag ? 0.75 : 0.25, 64);
    }
    mixer.run(state);
}
void run_silent(benchmark::State& state) {
    Mixer mixer;
    mixer.in.set_all_states(Dsp::State_DIRTY);
    mixer.run(state);
}

void run_copies(benchmark::State& state) {
    Mixer mixer;
    for (auto _ : state) {
        for (long chn = 0; chn < 2; ++chn) {
            std::memcpy(mixer.out.use_chn(0, chn), mixer.in.use_chn(0, chn), len * sizeof(float));
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * len);
}

// The plainest loop: both levels go on by a step at each frame, and start anew with each piece.
void run_plain(benchmark::State& state, float step) {
    Mixer mixer;
    float volatile step_val = step;
    long const piece_len = state.range(0);
    for (auto _ : state) {
        for (long beg = 0; beg < len; beg += piece_len) {
            for (long chn = 0; chn < 2; ++chn) {
                float const* const wet = mixer.in.use_chn(0, chn) + beg;
                float const* const dry = mixer.in.use_chn(1, chn) + beg;
                float* const dst = mixer.out.use_chn(0, chn) + beg;
                float dry_level = 0.25f;
                float wet_level = 0.75f;
                float const inc = step_val;
                for (long i = 0; i < piece_len; ++i) {
                    dst[i] = dry[i] * dry_level + wet[i] * wet_level;
                    dry_level += inc;
                    wet_level -= inc;
                }
            }
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * len);
}
void run_plain_level(benchmark::State& state) {
    Mixer mixer;
    float volatile dry_level = 0.5f;
    float volatile wet_level = 0.5f;
    for (auto _ : state) {
        float const dry_gain = dry_level;
        float const wet_gain = wet_level;
        for (long chn = 0; chn < 2; ++chn) {
            float const* const wet = mixer.in.use_chn(0, chn);
            float const* const dry = mixer.in.use_chn(1, chn);
            float* const dst = mixer.out.use_chn(0, chn);
            for (long i = 0; i < len; ++i) {
                dst[i] = dry[i] * dry_gain + wet[i] * wet_gain;
            }
        }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * len);
}

BENCHMARK(run_copies)->Name("unity/memcpy");
BENCHMARK(run_unity)->Name("unity/tessitone");
BENCHMARK(run_plain_level)->Name("level/plain");
BENCHMARK(run_level)->Name("level/tessitone");
BENCHMARK_CAPTURE(run_plain, ramp, 0.5f / len)->Name("ramp/plain")->Arg(len);
BENCHMARK(run_ramp)->Name("ramp/tessitone");
BENCHMARK_CAPTURE(run_plain, events, 0.5f / 64)->Name("events_64/plain")->Arg(64);
BENCHMARK(run_events)->Name("events_64/tessitone");
BENCHMARK(run_silent)->Name("silent/tessitone");

} // namespace
