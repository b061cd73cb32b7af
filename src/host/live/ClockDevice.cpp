#include "host/live/ClockDevice.h"

#include "ulk/sys/ThreadMgr.h"

#include <chrono>

namespace ulk::host::live {

ClockDevice::ClockDevice(Settings const& settings)
    : _settings(settings) {}

ClockDevice::~ClockDevice() {
    stop();
}

void ClockDevice::do_start(Callback const& callback) {
    _callback = callback;
    _thread = std::thread([this] { run(); });
}

void ClockDevice::stop() {
    _stop_flag = true;
    if (_thread.joinable()) {
        _thread.join();
    }
}

void ClockDevice::run() {
    using Clock = std::chrono::steady_clock;
    _real_time.set(sys::ThreadMgr::make_real_time(real_time_priority));
    auto const len = static_cast<std::size_t>(_settings.block_len);
    std::vector<std::vector<float>> buf_arr(static_cast<std::size_t>(_settings.nbr_out),
                                            std::vector<float>(len));
    std::vector<float> silence(len);
    std::vector<float*> out_arr;
    for (auto& buf : buf_arr) {
        out_arr.push_back(buf.data());
    }
    std::vector<float const*> const in_arr(static_cast<std::size_t>(_settings.nbr_in),
                                           silence.data());
    auto const period = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(
        static_cast<double>(_settings.block_len) / _settings.sample_freq));
    for (auto due = Clock::now(); !_stop_flag; due += period) {
        _callback(in_arr.data(), out_arr.data(), _settings.block_len);
        if (auto const now = Clock::now(); now > due + period) {
            ++_nbr_xruns;
            due = now;
        }
        std::this_thread::sleep_until(due + period);
    }
}

} // namespace ulk::host::live
