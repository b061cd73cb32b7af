#pragma once

#include "host/Error.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ulk::host::live {

// A sound device that is open. Control side but where told.
class Device {
public:
    // What there is.
    struct Info {
        std::string name;
        std::string system; // ALSA, JACK, PulseAudio and so on
        int nbr_out = 0;    // channels
        int nbr_in = 0;
        bool default_out_flag = false; // what is played to unless another is asked for
        bool default_in_flag = false;  // the same for recording
        std::vector<int> freq_arr;     // Hz
    };
    struct Settings {
        std::string name; // or a part of it, with "SYSTEM:" before it or not; empty for the default
        double sample_freq = 48000;
        long block_len = 256; // a wish
        int nbr_out = 0;      // channels
        int nbr_in = 0;
    };
    // The next len frames in and out, a buffer a channel; null for none. real-time
    using Callback =
        std::function<void(float const* const* in_arr, float* const* out_arr, long len)>;

    virtual ~Device() = default; // stops

    virtual std::string get_name() const = 0;
    virtual double get_sample_freq() const = 0;
    virtual long get_block_len() const = 0; // as a rule
    // Throws an Error when the device does not.
    void start(Callback const& callback) {
        try {
            do_start(callback);
        } catch (std::runtime_error const& e) {
            throw Error(Error::Kind_IO,
                        "the sound device " + get_name() + " does not start: " + e.what());
        }
    }
    virtual void stop() = 0; // when all of it is heard
    // False when it is gone, from start() to stop(); to be asked some times a second.
    virtual bool is_alive() = 0;
    virtual long get_nbr_xruns() const = 0;
    // Whether the callback's thread has such a priority; none before the first call.
    virtual std::optional<bool> is_real_time() = 0;
    static constexpr int real_time_priority = 70; // of 99
    // What to do where it has none.
    static constexpr char priority_advice[] =
        "no real-time priority for the sound: other work may interrupt it. Grant rtprio to a group "
        "in /etc/security/limits.d, join it, log in again, and start the sound server anew.";

protected:
    virtual void do_start(Callback const& callback) = 0; // or throws std::runtime_error
};

// Where devices come from. Failures throw std::runtime_error.
class DeviceSystem {
public:
    virtual ~DeviceSystem() = default;

    // failures: systems that may have devices and do not tell, for users; empty if there are none.
    virtual std::vector<Device::Info> list_devices(std::string& failures) = 0;
    virtual std::unique_ptr<Device> open(Device::Settings const& settings) = 0;
};

// What a module of devices exports as "tessitone_make_device_system". Null when that fails.
using MakeDeviceSystem = DeviceSystem*();

} // namespace ulk::host::live
