#pragma once

#include "host/live/ClockDevice.h"
#include "soak/Material.h"

namespace soak {

// A device whose time goes faster than it tells, so that an hour takes minutes.
class FastClock : public ulk::host::live::Device {
public:
    static constexpr double speed = 8;

    explicit FastClock(Settings const& settings)
        : _clock(speed_up(settings)) {}

    std::string get_name() const override { return _clock.get_name(); }
    double get_sample_freq() const override { return Material::freq; }
    long get_block_len() const override { return _clock.get_block_len(); }
    void stop() override { _clock.stop(); }
    bool is_alive() override { return true; }
    long get_nbr_xruns() const override { return _clock.get_nbr_xruns(); }
    std::optional<bool> is_real_time() override { return false; }

protected:
    void do_start(Callback const& callback) override { _clock.start(callback); }

private:
    static Settings speed_up(Settings settings) {
        settings.sample_freq = Material::freq * speed;
        return settings;
    }

    ulk::host::live::ClockDevice _clock;
};

} // namespace soak
