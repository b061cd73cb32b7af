// What a voice of the tape plug-in costs: "ns" is the time of an output frame of one voice, with a
// warm cache. Rows "read_..." are the reader alone, beside libsamplerate's linear interpolation and
// a plain loop over memory, both from interleaved frames; rows "voice_..." are 64 voices through
// PROCESS, mixed to a stereo pin, beside FluidSynth's, of which a stereo sample takes two.
// Arguments are block lengths. "voices" is how many of them one core plays in real time.

#include "ulk/ace/baplug/Tape.h"
#include "ulk/ace/baplug/rspl/ResamplerCst.h"
#include "ulk/ace/baplug/vendor_cmd.h"
#include "ulk/dsp/BasicMixing.h"
#include "ulk/kryn/Component.h"
#include "ulk/kryn/Plugin.h"
#include "ulk/sacc/SplCache.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sys/CritSec.h"

#include <benchmark/benchmark.h>
#ifdef HAS_RIVALS
#include <samplerate.h>
#endif
#ifdef HAS_FLUIDSYNTH
#include "FluidVoices.h"
#endif

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

using namespace ulk;
using ace::baplug::rspl::ResamplerCst;
using Dsp = kryn::PluginDsp;
using Cmd = Dsp::CmdPlug;

constexpr long spl_len = 1 << 19; // frames
constexpr double freq = 48000;

// A sample in the cache, all of it loaded.
class Store {
public:
    explicit Store(int count)
        : nbr_chn(count)
        , data(static_cast<std::size_t>(spl_len * count)) {
        for (std::size_t i = 0; i < data.size(); ++i) {
            data[i] = static_cast<float>((i * 7919) % 65536) / 65536 - 0.5f;
        }
        auto const path = std::filesystem::temp_directory_path() /
                          ("bench_tape_" + std::to_string(::getpid()) + ".wav");
        save(path.string());
        cache.set_memory(spl_len * nbr_chn + (1 << 18), 0, sacc::SplCache::_default_cell_len);
        cache.open_file(id, path.string().c_str(), false);
        cache.prefetch_data(id, 0, spl_len);
        while (cache.do_run_slice()) {
        }
        std::filesystem::remove(path);
    }
    ~Store() {
        service.request_stop();
        cache.close_file(id);
    }

    int const nbr_chn;
    std::vector<float> data;
    sys::Mutex mutex_rt;

private:
    void save(std::string const& name) const {
        std::uint32_t const nbr_bytes = static_cast<std::uint32_t>(data.size() * 4);
        auto const chn = static_cast<std::uint32_t>(nbr_chn);
        std::uint32_t const head[] = {
            0x46464952, nbr_bytes + 36,  0x45564157,         0x20746D66, 16,       3 | chn << 16,
            48000,      48000 * 4 * chn, 4 * chn | 32 << 16, 0x61746164, nbr_bytes};
        std::ofstream file(name, std::ios::binary);
        file.write(reinterpret_cast<char const*>(head), sizeof(head));
        file.write(reinterpret_cast<char const*>(data.data()), nbr_bytes);
    }

    sys::Mutex _mutex_bkg;
    sys::Mutex _mutex_file;
    sacc::SplFileMgr _file_mgr{_mutex_file};

public:
    sacc::SplCache cache{mutex_rt, _mutex_bkg, _file_mgr};
    sacc::SplCacheFileId id = 0;
    // A host has threads, without which the C library spares the cost of its locks.
    std::jthread service{[](std::stop_token const& stop) {
        while (!stop.stop_requested()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }};
};

Store& use_store(int nbr_chn) {
    static Store mono(1);
    static Store stereo(2);
    return nbr_chn == 1 ? mono : stereo;
}

void tell(benchmark::State& state, double nbr_frames) {
    state.counters["ns"] =
        benchmark::Counter(nbr_frames * 1e-9, benchmark::Counter::kIsIterationInvariantRate |
                                                  benchmark::Counter::kInvert);
}

void read_tessitone(benchmark::State& state, int nbr_chn, double rate) {
    dsp::BasicMixing::setup();
    Store& store = use_store(nbr_chn);
    long const len = state.range(0);
    std::vector<float> scratch(6144);
    std::vector<float> dest(static_cast<std::size_t>(len * nbr_chn));
    ResamplerCst reader;
    bool rem_flag = false;
    for (auto _ : state) {
        if (!rem_flag) {
            reader.configure(store.cache, nbr_chn, static_cast<float>(rate), store.id, spl_len,
                             1.25, dest.data(), len, scratch.data());
        }
        rem_flag = reader.resample(0, len, true);
        benchmark::DoNotOptimize(dest.data());
        benchmark::ClobberMemory();
    }
    tell(state, static_cast<double>(len));
}

void read_plain(benchmark::State& state, int nbr_chn, double rate) {
    Store& store = use_store(nbr_chn);
    long const len = state.range(0);
    std::vector<float> dest(static_cast<std::size_t>(len * nbr_chn));
    auto const step = static_cast<std::uint64_t>(rate * 4294967296.0);
    std::uint64_t pos = 0;
    for (auto _ : state) {
        float* const left = dest.data();
        float* const right = left + (nbr_chn - 1) * len;
        float const* const src = store.data.data();
        for (long i = 0; i < len; ++i) {
            float const frac =
                static_cast<float>(static_cast<std::int32_t>((pos >> 1) & 0x7FFFFFFF)) *
                (1.0f / 2147483648.0f);
            if (nbr_chn == 1) {
                float const* const f = src + (pos >> 32);
                left[i] = f[0] + frac * (f[1] - f[0]);
            } else {
                float const* const f = src + (pos >> 32) * 2;
                left[i] = f[0] + frac * (f[2] - f[0]);
                right[i] = f[1] + frac * (f[3] - f[1]);
            }
            pos += step;
        }
        if (static_cast<long>(pos >> 32) + 4 * len > spl_len) {
            pos = 0;
        }
        benchmark::DoNotOptimize(dest.data());
        benchmark::ClobberMemory();
    }
    tell(state, static_cast<double>(len));
}

#ifdef HAS_RIVALS
void read_samplerate(benchmark::State& state, int nbr_chn, double rate) {
    Store& store = use_store(nbr_chn);
    long const len = state.range(0);
    std::vector<float> dest(static_cast<std::size_t>(len * nbr_chn));
    int error = 0;
    SRC_STATE* const src = src_new(SRC_LINEAR, nbr_chn, &error);
    long pos = 0;
    for (auto _ : state) {
        SRC_DATA data = {};
        data.data_in = store.data.data() + pos * nbr_chn;
        data.input_frames = 4 * len + 4;
        data.data_out = dest.data();
        data.output_frames = len;
        data.src_ratio = 1 / rate;
        src_process(src, &data);
        pos += data.input_frames_used;
        if (pos + 5 * len > spl_len) {
            pos = 0;
        }
        benchmark::DoNotOptimize(dest.data());
        benchmark::ClobberMemory();
    }
    src_delete(src);
    tell(state, static_cast<double>(len));
}
#endif

// A host of one Tape with all its voices on.
class Host {
public:
    Host(Store& spl_store, long len, double semitones)
        : store(spl_store)
        , block_len(len) {
        new ace::baplug::Tape(_com);
        Cmd::SetSampleFreq rate = {freq};
        send(Cmd::SET_SAMPLE_FREQ, &rate);
        Cmd::SetProcessBlockLen block = {0, len};
        send(Cmd::SET_PROCESS_BLOCK_LEN, &block);
        send(kryn::Plugin::CmdPlug::INIT);
        send(Cmd::CLEAR_BUFFERS);
        for (int n = 0; n < 64; ++n) {
            Dsp::Event evt = {};
            evt.type = Dsp::EventType_NOTE_ON;
            evt.note_id = n;
            _evt_arr.push_back(evt);
            evt.type = Dsp::EventType_PARAM;
            evt.param = {{kryn::ParamScope_NOTE, n, 0}, 0, 0, 1};
            _evt_arr.push_back(evt);
            evt.param = {{kryn::ParamScope_NOTE, n, 4}, 0, 0, semitones};
            _evt_arr.push_back(evt);
        }
        for (int n = 0; n < 64; ++n) {
            Dsp::Event evt = {};
            evt.type = Dsp::EventType_PARAM;
            evt.param = {{kryn::ParamScope_NOTE, n, 3}, len, 0.4, 0.5};
            _ramp_arr.push_back(evt);
        }
        for (auto const& evt : _evt_arr) {
            _evt_ptr_arr.push_back(&evt);
        }
        for (auto const& evt : _ramp_arr) {
            _ramp_ptr_arr.push_back(&evt);
        }
        _buf.resize(static_cast<std::size_t>(len * 2));
    }
    ~Host() { send(kryn::Component::Cmd::DESTROY); }
    Host(Host const&) = delete;
    Host& operator=(Host const&) = delete;

    void process(bool ramp_flag) {
        float* chn_arr[] = {_buf.data(), _buf.data() + block_len};
        Dsp::PinData pin = {chn_arr, 0};
        auto const& list = !_playing_flag ? _evt_ptr_arr : _ramp_ptr_arr;
        long const nbr_evt = _playing_flag && !ramp_flag ? 0 : static_cast<long>(list.size());
        Cmd::Process rec = {{nullptr}, {&pin}, {list.data(), nbr_evt}, block_len};
        sys::CritSec pass(store.mutex_rt);
        send(Cmd::PROCESS, &rec);
        _playing_flag = pin.state == 0;
    }

    Store& store;
    long const block_len;

private:
    void send(int cmd, void* data = nullptr) { _com.plugin_execute(&_com, cmd, data); }
    static int execute(pibase::BidirComPoint* com, int cmd, void* data) {
        using namespace ace::baplug;
        Host& host = *static_cast<Host*>(com->host_data);
        if (cmd == CMD_VENDOR_USE_CACHE) {
            static_cast<UseCache*>(data)->cache_ptr = &host.store.cache;
        } else {
            *static_cast<SampleInfo*>(data) = {1, spl_len, host.store.id,
                                               0, freq,    host.store.nbr_chn};
        }
        return 0;
    }

    pibase::BidirComPoint _com = {&execute, nullptr, this, nullptr};
    std::vector<Dsp::Event> _evt_arr, _ramp_arr;
    std::vector<Dsp::Event const*> _evt_ptr_arr, _ramp_ptr_arr;
    std::vector<float> _buf;
    bool _playing_flag = false;
};

constexpr int nbr_voices = 64;

// Times are those of an output frame of one voice.
void tell_voices(benchmark::State& state) {
    double const nbr_frames = static_cast<double>(state.range(0));
    tell(state, nbr_frames * nbr_voices);
    state.counters["voices"] = benchmark::Counter(nbr_voices * nbr_frames / freq,
                                                  benchmark::Counter::kIsIterationInvariantRate);
}

void voice(benchmark::State& state, int nbr_chn, double rate, bool ramp_flag) {
    Host host(use_store(nbr_chn), state.range(0), 12 * std::log2(rate));
    for (auto _ : state) {
        host.process(ramp_flag);
    }
    tell_voices(state);
}

#ifdef HAS_FLUIDSYNTH
void voice_fluidsynth(benchmark::State& state, int nbr_chn, double rate) {
    Store const& store = use_store(1);
    std::vector<short> data;
    for (float const val : store.data) {
        data.push_back(static_cast<short>(val * 32767));
    }
    bench::FluidVoices voices(std::move(data), nbr_voices * nbr_chn, rate,
                              nbr_chn == 1 ? std::vector<double>{0} : std::vector<double>{-1, 1});
    std::vector<float> buf(static_cast<std::size_t>(state.range(0) * 2));
    for (auto _ : state) {
        voices.process(buf.data(), buf.data() + state.range(0), state.range(0));
        benchmark::DoNotOptimize(buf.data());
    }
    bool const sound_flag =
        std::any_of(buf.begin(), buf.end(), [](float val) { return std::fabs(val) > 0.001f; });
    if (voices.get_nbr_voices() != nbr_voices * nbr_chn || !sound_flag) {
        state.SkipWithError("not all voices sound");
    }
    tell_voices(state);
}
#endif

using Fnc = void (*)(benchmark::State& state, int nbr_chn, double rate);

void add(std::string const& name, Fnc fnc, int nbr_chn, double rate) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) { fnc(state, nbr_chn, rate); })
        ->Arg(64)
        ->Arg(512);
}

bool register_all() {
    struct Ratio {
        char const* name;
        double val;
    };
    Ratio const ratio_arr[] = {{"1", 1}, {"44_48", 44100.0 / 48000}, {"up12", 2}, {"down12", 0.5}};
    for (int const nbr_chn : {1, 2}) {
        std::string const chn = nbr_chn == 1 ? "mono_" : "stereo_";
        for (Ratio const& ratio : ratio_arr) {
            std::string const name = "read_" + chn + ratio.name;
            add(name + "/tessitone", read_tessitone, nbr_chn, ratio.val);
            add(name + "/plain_loop", read_plain, nbr_chn, ratio.val);
#ifdef HAS_RIVALS
            add(name + "/samplerate", read_samplerate, nbr_chn, ratio.val);
#endif
        }
        for (Ratio const& ratio : ratio_arr) {
            std::string const name = "voice_" + chn + ratio.name;
            add(
                name + "/tessitone",
                [](benchmark::State& s, int n, double r) { voice(s, n, r, false); }, nbr_chn,
                ratio.val);
#ifdef HAS_FLUIDSYNTH
            add(name + "/fluidsynth", voice_fluidsynth, nbr_chn, ratio.val);
#endif
            add(
                name + "_ramp/tessitone",
                [](benchmark::State& s, int n, double r) { voice(s, n, r, true); }, nbr_chn,
                ratio.val);
        }
    }
    return true;
}

bool const registered_flag = register_all();

} // namespace
