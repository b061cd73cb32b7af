// Sound devices through RtAudio, as a module that a program loads when it needs them.

#include "devices/PulseServer.h"
#include "host/live/Device.h"
#include "host/live/FrameWatch.h"
#include "ulk/sys/ThreadMgr.h"

#include <RtAudio.h>
#include <alsa/asoundlib.h>
#include <jack/jack.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace {

using ulk::devices::PulseServer;
using ulk::host::live::Device;
using ulk::host::live::DeviceSystem;
using ulk::host::live::FrameWatch;

constexpr unsigned max_nbr_chn = 64;
constexpr int pulse_blocks = 4; // of latency

// A device as RtAudio knows it.
struct Found {
    RtAudio::Api api;
    unsigned id; // as long as no device comes or goes
    RtAudio::DeviceInfo info;
};

// An open stream, and all that its callback uses.
class Stream {
public:
    Stream(Found const& found, Device::Settings const& settings)
        : _audio(found.api)
        , _settings(settings)
        , _nbr_open(settings.nbr_out == 1 && found.info.outputChannels > 1 ? 2 : settings.nbr_out) {
        _audio.showWarnings(false);
        RtAudio::StreamParameters out = {found.id, static_cast<unsigned>(_nbr_open), 0};
        RtAudio::StreamParameters in = {found.id, static_cast<unsigned>(settings.nbr_in), 0};
        RtAudio::StreamOptions options;
        options.flags = RTAUDIO_NONINTERLEAVED;
        options.streamName = "tessitone";
        auto block_len = static_cast<unsigned>(settings.block_len);
        _audio.openStream(settings.nbr_out > 0 ? &out : nullptr,
                          settings.nbr_in > 0 ? &in : nullptr, RTAUDIO_FLOAT32,
                          static_cast<unsigned>(settings.sample_freq), &block_len, &call, this,
                          &options, &note_error);
        _settings.block_len = static_cast<long>(block_len);
        _settings.sample_freq = _audio.getStreamSampleRate();
    }

    Device::Settings const& use_settings() const { return _settings; }
    void start(Device::Callback const& callback) {
        _callback = callback;
        _audio.startStream();
    }
    // Plays what is still on its way. JACK has nothing of that, and would wait for a dead server.
    void close() {
        if (_audio.isStreamRunning() && !has_jack()) {
            try {
                _audio.stopStream();
            } catch (RtAudioError const&) {
                // It went away just now, and is closed all the same.
            }
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

    bool has_jack() const { return _audio.getCurrentApi() == RtAudio::UNIX_JACK; }

    // In a callback's thread nobody catches. What fails there is gone with PulseAudio; for others
    // it may be an xrun, and the frames tell.
    static void note_error(RtAudioError::Type type, std::string const& txt) {
        if (current != nullptr) {
            current->_gone_flag = current->_audio.getCurrentApi() == RtAudio::LINUX_PULSE;
        } else if (type != RtAudioError::WARNING) {
            throw RtAudioError(txt, type);
        }
    }

    // real-time
    static int call(void* out, void* in, unsigned len, double, RtAudioStreamStatus status,
                    void* self) {
        return static_cast<Stream*>(self)->process(static_cast<float*>(out),
                                                   static_cast<float*>(in), len, status);
    }
    Answer process(float* out, float const* in, std::size_t len, RtAudioStreamStatus status) {
        if (_gone_flag || _busy.test_and_set()) {
            std::fill_n(out, static_cast<std::size_t>(_nbr_open) * len, 0.f);
            return Answer_STOP_AT_ONCE;
        }
        if (current == nullptr) {
            begin();
        }
        _nbr_xruns += status != 0 ? 1 : 0;
        std::array<float*, max_nbr_chn> out_arr{};
        std::array<float const*, max_nbr_chn> in_arr{};
        for (std::size_t chn = 0; chn < static_cast<std::size_t>(_settings.nbr_out); ++chn) {
            out_arr[chn] = out + chn * len;
        }
        for (std::size_t chn = 0; chn < static_cast<std::size_t>(_settings.nbr_in); ++chn) {
            in_arr[chn] = in + chn * len;
        }
        _callback(in_arr.data(), out_arr.data(), static_cast<long>(len));
        if (_nbr_open > _settings.nbr_out) {
            std::copy_n(out, len, out + len);
        }
        _nbr_frames += static_cast<long long>(len);
        _busy.clear();
        return Answer_GO_ON;
    }
    // On the callback's thread, which has JACK's priority where it is JACK's. RtAudio would tell of
    // it on the terminal.
    void begin() {
        current = this;
        if (!has_jack()) {
            ulk::sys::ThreadMgr::make_real_time(Device::real_time_priority);
        }
        _thread = ulk::sys::ThreadMgr::get_current_handle();
    }

    static thread_local Stream* current; // whose callback the thread runs

    mutable RtAudio _audio;
    Device::Settings _settings;
    int _nbr_open; // outputs: one channel sounds on both sides
    Device::Callback _callback;
    std::atomic_flag _busy;  // with the callback; for good behind cut()
    bool _gone_flag = false; // the callback's thread's
    std::atomic<long> _nbr_xruns = 0;
    std::atomic<long long> _nbr_frames = 0;
    std::atomic<unsigned long> _thread = 0; // of the callback
    std::optional<bool> _real_time;
};

thread_local Stream* Stream::current = nullptr;

class RtDevice : public Device {
public:
    RtDevice(Found const& found, Settings const& settings)
        : _name(found.info.name)
        , _stream(std::make_unique<Stream>(found, settings))
        , _watch(get_sample_freq(), found.api == RtAudio::UNIX_JACK) {}
    ~RtDevice() override {
        stop();
        if (_cut_flag) {
            static_cast<void>(_stream.release()); // the system may still know of it
        }
    }

    std::string get_name() const override { return _name; }
    double get_sample_freq() const final { return _stream->use_settings().sample_freq; }
    long get_block_len() const override { return _stream->use_settings().block_len; }
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

protected:
    void do_start(Callback const& callback) override { _stream->start(callback); }

private:
    std::string _name;
    std::unique_ptr<Stream> _stream;
    FrameWatch _watch;
    bool _hung_flag = false; // or gone
    bool _cut_flag = false;
};

// The system's name for users.
std::string get_system_name(RtAudio::Api api) {
    switch (api) {
    case RtAudio::UNIX_JACK:
        return "JACK";
    case RtAudio::LINUX_PULSE:
        return "PulseAudio";
    default:
        return RtAudio::getApiDisplayName(api);
    }
}

std::vector<RtAudio::Api> list_systems() {
    std::vector<RtAudio::Api> result;
    RtAudio::getCompiledApi(result);
    return result;
}

// Which device a wish means: a name of one or a part of it, or the default, each with its system
// before it where that matters ("JACK:system", "JACK:").
class Wish {
public:
    enum Match { Match_NONE, Match_PART, Match_EXACT };

    explicit Wish(Device::Settings const& settings)
        : _settings(settings)
        , _systems(list_systems())
        , _name(settings.name) {
        for (RtAudio::Api const api : list_systems()) {
            if (std::string const prefix = get_system_name(api) + ":"; _name.starts_with(prefix)) {
                _systems = {api};
                _name.erase(0, prefix.size());
                break;
            }
        }
    }

    std::vector<RtAudio::Api> const& use_systems() const { return _systems; }
    Match find_match(RtAudio::DeviceInfo const& info) const {
        if (_name.empty() ? is_default(info) : info.name == _name) {
            return Match_EXACT;
        }
        bool const part_flag = !_name.empty() && info.name.find(_name) != std::string::npos;
        return part_flag ? Match_PART : Match_NONE;
    }
    // Why it has not the channels; empty when it has.
    std::string find_misfit(RtAudio::DeviceInfo const& info) const {
        auto const find_lack = [&](unsigned there, int wanted, char const* kind) {
            return wanted <= static_cast<int>(std::min(there, max_nbr_chn))
                       ? ""
                       : "sound device " + info.name + ": has " + std::to_string(there) + " " +
                             kind + " channels, and not " + std::to_string(wanted);
        };
        std::string const lack = find_lack(info.outputChannels, _settings.nbr_out, "output");
        return lack.empty() ? find_lack(info.inputChannels, _settings.nbr_in, "input") : lack;
    }

private:
    bool is_default(RtAudio::DeviceInfo const& info) const {
        return _settings.nbr_out > 0 ? info.isDefaultOutput : info.isDefaultInput;
    }

    Device::Settings const& _settings;
    std::vector<RtAudio::Api> _systems; // where to look
    std::string _name;                  // without that of the system
};

class RtSystem : public DeviceSystem {
public:
    std::vector<Device::Info> list_devices() override {
        std::vector<Device::Info> result;
        bool out_flag = true; // no default came yet
        bool in_flag = true;
        walk(list_systems(), [&](Found const& found) {
            RtAudio::DeviceInfo const& info = found.info;
            result.push_back({info.name,
                              get_system_name(found.api),
                              static_cast<int>(info.outputChannels),
                              static_cast<int>(info.inputChannels),
                              out_flag && info.isDefaultOutput,
                              in_flag && info.isDefaultInput,
                              {info.sampleRates.begin(), info.sampleRates.end()}});
            out_flag = out_flag && !info.isDefaultOutput;
            in_flag = in_flag && !info.isDefaultInput;
            return false;
        });
        return result;
    }

    // Of those that have the channels: the first of this very name, or else the first with a part
    // of it.
    std::unique_ptr<Device> open(Device::Settings const& settings) override {
        Wish const wish(settings);
        std::optional<Found> best;
        std::string misfit; // the first one
        int const nbr_unknown = walk(wish.use_systems(), [&](Found const& found) {
            auto const match = wish.find_match(found.info);
            if (match == Wish::Match_NONE) {
                return false;
            }
            if (std::string const lack = wish.find_misfit(found.info); !lack.empty()) {
                misfit = misfit.empty() ? lack : misfit;
                return false;
            }
            if (!best || match == Wish::Match_EXACT) {
                best = found;
            }
            return match == Wish::Match_EXACT;
        });
        if (!best) {
            refuse(settings.name, misfit, nbr_unknown);
        }
        return make_device(*best, settings);
    }

private:
    [[noreturn]] static void refuse(std::string const& name, std::string const& misfit,
                                    int nbr_unknown) {
        std::string txt = misfit;
        if (misfit.empty()) {
            txt = "there is no sound device" + (name.empty() ? "" : " " + name);
        }
        if (nbr_unknown > 0) {
            txt += "; devices that could not be looked into, maybe for another program that holds "
                   "them: " +
                   std::to_string(nbr_unknown);
        }
        throw std::runtime_error(txt);
    }

    static std::unique_ptr<Device> make_device(Found const& found,
                                               Device::Settings const& settings) {
        bool const pulse_flag = found.api == RtAudio::LINUX_PULSE;
        if (pulse_flag) {
            set_pulse_latency(settings);
        } else {
            check_rate(found.info, settings.sample_freq);
        }
        try {
            return std::make_unique<RtDevice>(found, settings);
        } catch (RtAudioError const& e) {
            throw std::runtime_error("sound device " + found.info.name +
                                     ": does not open: " + e.what());
        }
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

    // It takes seconds ahead of their time unless its environment says otherwise.
    static void set_pulse_latency(Device::Settings const& settings) {
        double const time =
            pulse_blocks * static_cast<double>(settings.block_len) / settings.sample_freq;
        ::setenv("PULSE_LATENCY_MSEC", std::to_string(std::lround(time * 1e3) + 1).c_str(), 0);
    }

    // Calls fnc(found) until it is true; how many devices could not be looked into.
    template <class F>
    static int walk(std::vector<RtAudio::Api> const& api_arr, F fnc) {
        int nbr_unknown = 0;
        for (RtAudio::Api const api : api_arr) {
            if (api == RtAudio::LINUX_PULSE && !PulseServer::is_usable()) {
                continue;
            }
            RtAudio audio(api);
            audio.showWarnings(false);
            unsigned const nbr_devices = audio.getDeviceCount();
            bool alsa_out_flag = api == RtAudio::LINUX_ALSA; // whose first output is to come
            for (unsigned id = 0; id < nbr_devices; ++id) {
                Found found = {api, id, look(audio, id)};
                RtAudio::DeviceInfo& info = found.info;
                if (!info.probed) {
                    ++nbr_unknown;
                    continue;
                }
                // RtAudio forgets to tell it of a device that cannot record.
                info.isDefaultOutput |= alsa_out_flag && info.outputChannels > 0;
                alsa_out_flag = alsa_out_flag && info.outputChannels == 0;
                if (fnc(found)) {
                    return nbr_unknown;
                }
            }
        }
        return nbr_unknown;
    }

    // One that went away meanwhile is not known either.
    static RtAudio::DeviceInfo look(RtAudio& audio, unsigned id) {
        try {
            return audio.getDeviceInfo(id);
        } catch (RtAudioError const&) {
            return {};
        }
    }
};

void ignore(char const*, int, char const*, int, char const*, ...) {}

// What the libraries of the systems would print; failures come as messages of the command's own.
void silence_libraries() {
    snd_lib_error_set_handler(&ignore);
    jack_set_error_function([](char const*) {});
    jack_set_info_function([](char const*) {});
    ::setenv("PULSE_LOG_SYSLOG", "1", 0);
}

} // namespace

extern "C" __attribute__((visibility("default"))) DeviceSystem* tessitone_make_device_system() {
    try {
        silence_libraries();
        return new RtSystem;
    } catch (std::exception const&) {
        return nullptr;
    }
}
