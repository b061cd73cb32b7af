// Sound devices through RtAudio, as a module that a program loads when it needs them.

#include "host/live/Device.h"
#include "ulk/sys/ThreadMgr.h"

#include <RtAudio.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <stdexcept>

namespace {

using ulk::host::live::Device;
using ulk::host::live::DeviceSystem;

constexpr unsigned max_nbr_chn = 64;
constexpr int real_time_priority = 70; // of 99

class RtDevice : public Device {
public:
    RtDevice(RtAudio::Api api, unsigned id, RtAudio::DeviceInfo const& info,
             Settings const& settings)
        : _audio(api)
        , _name(info.name)
        , _settings(settings) {
        _audio.showWarnings(false);
        RtAudio::StreamParameters out = {id, static_cast<unsigned>(settings.nbr_out), 0};
        RtAudio::StreamParameters in = {id, static_cast<unsigned>(settings.nbr_in), 0};
        RtAudio::StreamOptions options;
        options.flags = RTAUDIO_NONINTERLEAVED | RTAUDIO_SCHEDULE_REALTIME;
        options.priority = real_time_priority;
        options.streamName = "tessitone";
        auto block_len = static_cast<unsigned>(settings.block_len);
        _audio.openStream(settings.nbr_out > 0 ? &out : nullptr,
                          settings.nbr_in > 0 ? &in : nullptr, RTAUDIO_FLOAT32,
                          static_cast<unsigned>(settings.sample_freq), &block_len, &call, this,
                          &options);
        _block_len = static_cast<long>(block_len);
    }
    ~RtDevice() override { close(); }

    std::string get_name() const override { return _name; }
    double get_sample_freq() const override { return _settings.sample_freq; }
    long get_block_len() const override { return _block_len; }
    void start(Callback const& callback) override {
        _callback = callback;
        _audio.startStream();
    }
    void stop() override { close(); }
    bool is_alive() const override { return _audio.isStreamOpen() && _audio.isStreamRunning(); }
    long get_nbr_xruns() const override { return _nbr_xruns; }
    bool is_real_time() const override {
        return _thread != 0 && ulk::sys::ThreadMgr::is_real_time(_thread);
    }

private:
    static int call(void* out, void* in, unsigned len, double, RtAudioStreamStatus status,
                    void* self) {
        static_cast<RtDevice*>(self)->process(static_cast<float*>(out), static_cast<float*>(in),
                                              len, status);
        return 0;
    }
    // real-time
    void process(float* out, float const* in, unsigned len, RtAudioStreamStatus status) {
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
    }
    void close() {
        if (_audio.isStreamOpen()) {
            _audio.closeStream();
        }
    }

    mutable RtAudio _audio;
    std::string _name;
    Settings _settings;
    long _block_len = 0;
    Callback _callback;
    std::atomic<long> _nbr_xruns = 0;
    std::atomic<unsigned long> _thread = 0; // of the callback
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
                check_channels(info, settings);
                device = std::make_unique<RtDevice>(api, id, info, settings);
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
    static void check_channels(RtAudio::DeviceInfo const& info, Device::Settings const& settings) {
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
