#pragma once

#include "host/live/Device.h"
#include "host/live/LateFlag.h"

#include <atomic>
#include <thread>

namespace ulk::host::live {

// A device without sound: a thread that keeps the time of one. What is played to it is lost, what
// is recorded from it is silence.
class ClockDevice : public Device {
public:
    static constexpr char name[] = "none";
    static constexpr char system[] = "silent";

    explicit ClockDevice(Settings const& settings);
    ~ClockDevice() override;

    std::string get_name() const override { return name; }
    double get_sample_freq() const override { return _settings.sample_freq; }
    long get_block_len() const override { return _settings.block_len; }
    void stop() override;
    bool is_alive() override { return true; }
    long get_nbr_xruns() const override { return _nbr_xruns; }
    std::optional<bool> is_real_time() override { return _real_time.get(); }

protected:
    void do_start(Callback const& callback) override;

private:
    void run();

    Settings _settings;
    Callback _callback;
    std::atomic<bool> _stop_flag = false;
    LateFlag _real_time;
    std::atomic<long> _nbr_xruns = 0; // blocks that were not done in their time
    std::thread _thread;
};

} // namespace ulk::host::live
