// Sound devices through RtAudio, as a module that a program loads when it needs them.

#include "host/live/Device.h"
#include "host/live/FrameWatch.h"
#include "ulk/sys/ThreadMgr.h"

#include <RtAudio.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace {

using ulk::host::live::Device;
using ulk::host::live::DeviceSystem;
using ulk::host::live::FrameWatch;

constexpr unsigned max_nbr_chn = 64;
constexpr int pulse_blocks = 4; // of latency

// An open stream, and all that its callback uses.
class Stream {
public:
    Stream(RtAudio::Api api, unsigned id, Device::Settings const& settings)
        : _audio(api)
        , _settings(settings) {
        _audio.showWarnings(false);
        RtAudio::StreamParameters out = {id, static_cast<unsigned>(settings.nbr_out), 0};
        RtAudio::StreamParameters in = {id, static_cast<unsigned>(settings.nbr_in), 0};
        RtAudio::StreamOptions options;
        options.flags = RTAUDIO_NONINTERLEAVED | RTAUDIO_SCHEDULE_REALTIME;
        options.priority = Device::real_time_priority;
        options.streamName = "tessitone";
        auto block_len = static_cast<unsigned>(settings.block_len);
        _audio.openStream(settings.nbr_out > 0 ? &out : nullptr,
                          settings.nbr_in > 0 ? &in : nullptr, RTAUDIO_FLOAT32,
                          static_cast<unsigned>(settings.sample_freq), &block_len, &call, this,
                          &options);
        _settings.block_len = static_cast<long>(block_len);
    }

    Device::Settings const& use_settings() const { return _settings; }
    void start(Device::Callback const& callback) {
        _callback = callback;
        _audio.startStream();
    }
    // Plays what is still on its way. JACK has nothing of that, and would wait for a dead server.
    void close() {
        if (_audio.isStreamRunning() && _audio.getCurrentApi() != RtAudio::UNIX_JACK) {
            _audio.stopStream();
        }
        if (_audio.isStreamOpen()) {
            _audio.closeStream();
        }
    }
    // The callback is not called again, whatever the system does.
    void cut() {
        while (_busy.test_and_set()) {
            ulk::sys::ThreadMgr::yield();
        }
    }
    bool is_running() const { return _audio.isStreamOpen() && _audio.isStreamRunning(); }
    long get_nbr_xruns() const { return _nbr_xruns; }
    long long get_nbr_frames() const { return _nbr_frames; }
    // Asked once: the thread may end at any time.
    std::optional<bool> is_real_time() {
        if (!_real_time && _thread != 0) {
            _real_time = ulk::sys::ThreadMgr::is_real_time(_thread);
        }
        return _real_time;
    }

private:
    enum Answer : int { Answer_GO_ON, Answer_STOP, Answer_STOP_AT_ONCE };

    // real-time
    static int call(void* out, void* in, unsigned len, double, RtAudioStreamStatus status,
                    void* self) {
        return static_cast<Stream*>(self)->process(static_cast<float*>(out),
                                                   static_cast<float*>(in), len, status);
    }
    Answer process(float* out, float const* in, unsigned len, RtAudioStreamStatus status) {
        if (_busy.test_and_set()) {
            std::fill_n(out, _settings.nbr_out * static_cast<long>(len), 0.f);
            return Answer_STOP_AT_ONCE;
        }
        _thread = ulk::sys::ThreadMgr::get_current_handle();
        _nbr_xruns += status != 0 ? 1 : 0;
        std::array<float*, max_nbr_chn> out_arr{};
        std::array<float const*, max_nbr_chn> in_arr{};
        for (int chn = 0; chn < _settings.nbr_out; ++chn) {
            out_arr[static_cast<std::size_t>(chn)] = out + static_cast<std::size_t>(chn) * len;
        }
        for (int chn = 0; chn < _settings.nbr_in; ++chn) {
            in_arr[static_cast<std::size_t>(chn)] = in + static_cast<std::size_t>(chn) * len;
        }
        _callback(in_arr.data(), out_arr.data(), static_cast<long>(len));
        _nbr_frames += len;
        _busy.clear();
        return Answer_GO_ON;
    }

    mutable RtAudio _audio;
    Device::Settings _settings;
    Device::Callback _callback;
    std::atomic_flag _busy; // with the callback; for good behind cut()
    std::atomic<long> _nbr_xruns = 0;
    std::atomic<long long> _nbr_frames = 0;
    std::atomic<unsigned long> _thread = 0; // of the callback
    std::optional<bool> _real_time;
};

class RtDevice : public Device {
public:
    RtDevice(RtAudio::Api api, unsigned id, std::string const& name, Settings const& settings)
        : _name(name)
        , _stream(std::make_unique<Stream>(api, id, settings))
        , _watch(settings.sample_freq, api == RtAudio::UNIX_JACK) {}
    ~RtDevice() override {
        stop();
        if (_cut_flag) {
            static_cast<void>(_stream.release()); // the system may still know of it
        }
    }

    std::string get_name() const override { return _name; }
    double get_sample_freq() const override { return _stream->use_settings().sample_freq; }
    long get_block_len() const override { return _stream->use_settings().block_len; }
    void start(Callback const& callback) override { _stream->start(callback); }
    bool is_alive() override {
        _hung_flag =
            _hung_flag || !_watch.is_steady(_stream->get_nbr_frames(), FrameWatch::Clock::now());
        return !_hung_flag && _stream->is_running();
    }
    long get_nbr_xruns() const override { return _stream->get_nbr_xruns(); }
    std::optional<bool> is_real_time() override { return _stream->is_real_time(); }

    // A system that hangs would not answer to this either: its stream is left alone, for good.
    void stop() override {
        if (_cut_flag) {
            return;
        }
        _cut_flag = _hung_flag && _stream->is_running();
        if (_cut_flag) {
            _stream->cut();
        } else {
            _stream->close();
        }
    }

private:
    std::string _name;
    std::unique_ptr<Stream> _stream;
    FrameWatch _watch;
    bool _hung_flag = false; // or gone
    bool _cut_flag = false;
};

class RtSystem : public DeviceSystem {
public:
    std::vector<Device::Info> list_devices() override {
        std::vector<Device::Info> result;
        walk([&](RtAudio::Api api, unsigned, RtAudio::DeviceInfo const& info) {
            result.push_back({info.name,
                              RtAudio::getApiDisplayName(api),
                              static_cast<int>(info.outputChannels),
                              static_cast<int>(info.inputChannels),
                              info.isDefaultOutput || info.isDefaultInput,
                              {info.sampleRates.begin(), info.sampleRates.end()}});
            return false;
        });
        return result;
    }

    // The first that fits: by its name or a part of it, or the default of the first system that has
    // one.
    std::unique_ptr<Device> open(Device::Settings const& settings) override {
        std::unique_ptr<Device> device;
        walk([&](RtAudio::Api api, unsigned id, RtAudio::DeviceInfo const& info) {
            bool const default_flag =
                settings.nbr_out > 0 ? info.isDefaultOutput : info.isDefaultInput;
            bool const wanted_flag = settings.name.empty()
                                         ? default_flag
                                         : info.name.find(settings.name) != std::string::npos;
            if (wanted_flag) {
                check(info, settings);
                prepare(api, settings);
                device = std::make_unique<RtDevice>(api, id, info.name, settings);
            }
            return wanted_flag;
        });
        if (device == nullptr) {
            throw std::runtime_error(settings.name.empty()
                                         ? "there is no sound device"
                                         : "there is no sound device " + settings.name);
        }
        return device;
    }

private:
    static void check(RtAudio::DeviceInfo const& info, Device::Settings const& settings) {
        check_rate(info, settings.sample_freq);
        auto const check = [&](unsigned there, int wanted, char const* kind) {
            if (wanted > static_cast<int>(std::min(there, max_nbr_chn))) {
                throw std::runtime_error("sound device " + info.name + ": has " +
                                         std::to_string(there) + " " + kind +
                                         " channels, and not " + std::to_string(wanted));
            }
        };
        check(info.outputChannels, settings.nbr_out, "output");
        check(info.inputChannels, settings.nbr_in, "input");
    }

    static void check_rate(RtAudio::DeviceInfo const& info, double wanted) {
        std::ostringstream txt;
        txt << "sound device " << info.name << ": runs at";
        for (unsigned const freq : info.sampleRates) {
            if (freq == wanted) {
                return;
            }
            txt << (freq == info.sampleRates.front() ? " " : ", ") << freq;
        }
        txt << " Hz, and not at " << wanted << "; --rate asks for another rate";
        throw std::runtime_error(txt.str());
    }

    // PulseAudio takes seconds ahead of their time unless its environment says otherwise.
    static void prepare(RtAudio::Api api, Device::Settings const& settings) {
        if (api == RtAudio::LINUX_PULSE) {
            double const time =
                pulse_blocks * static_cast<double>(settings.block_len) / settings.sample_freq;
            ::setenv("PULSE_LATENCY_MSEC", std::to_string(std::lround(time * 1e3) + 1).c_str(), 0);
        }
    }

    // Calls fnc(system, number, info) until it is true.
    template <class F>
    static void walk(F fnc) {
        std::vector<RtAudio::Api> api_arr;
        RtAudio::getCompiledApi(api_arr);
        for (RtAudio::Api const api : api_arr) {
            RtAudio audio(api);
            audio.showWarnings(false);
            unsigned const nbr_devices = audio.getDeviceCount();
            for (unsigned id = 0; id < nbr_devices; ++id) {
                RtAudio::DeviceInfo const info = audio.getDeviceInfo(id);
                if (info.probed && fnc(api, id, info)) {
                    return;
                }
            }
        }
    }
};

} // namespace

extern "C" __attribute__((visibility("default"))) DeviceSystem* tessitone_make_device_system() {
    try {
        return new RtSystem;
    } catch (std::exception const&) {
        return nullptr;
    }
}
