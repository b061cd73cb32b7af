#pragma once

#include "host/live/Device.h"
#include "support/RealTimeGuard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace test {

// A device that hears a signal of which each frame tells its place, when and as fast as a test
// says.
class SignalDevice : public ulk::host::live::Device {
public:
    // Runs on the device's thread, and calls hear(); it ends when is_stopped().
    using Scenario = std::function<void(SignalDevice& device)>;

    // settings: what the device settles on.
    SignalDevice(Settings const& settings, Scenario scenario)
        : _settings(settings)
        , _scenario(std::move(scenario))
        , _chn_arr(static_cast<std::size_t>(settings.nbr_in),
                   std::vector<float>(static_cast<std::size_t>(settings.block_len))) {
        for (auto const& channel : _chn_arr) {
            _ptr_arr.push_back(channel.data());
        }
    }
    ~SignalDevice() override { stop(); }

    // Never 0; for any format of samples but 8 bits.
    static float make(int chn, long long frame) {
        auto const code = static_cast<int>(((frame + 1) * 40503 + chn * 977) % 32749) + 1;
        return static_cast<float>(code) / 32768;
    }

    // The next frames, in blocks, each of them under guard.
    void hear(long long nbr_frames) {
        for (long long done = 0; done < nbr_frames && !_stop_flag;) {
            auto const len =
                static_cast<long>(std::min<long long>(_settings.block_len, nbr_frames - done));
            for (std::size_t chn = 0; chn < _chn_arr.size(); ++chn) {
                for (long pos = 0; pos < len; ++pos) {
                    _chn_arr[chn][static_cast<std::size_t>(pos)] =
                        make(static_cast<int>(chn), _pos + pos);
                }
            }
            {
                RealTimeGuard guard(RealTimeGuard::Locks_UNCONTENDED);
                _callback(_ptr_arr.data(), nullptr, len);
                std::string const txt = guard.stop();
                // It waits for the cache's lock alone.
                EXPECT_TRUE(txt.empty() || txt == "system call 202") << txt << "\n"
                                                                     << RealTimeGuard::get_stack();
            }
            _pos = _pos + len;
            done += len;
        }
    }
    bool is_stopped() const { return _stop_flag; }
    long long get_nbr_heard() const { return _pos; }

    std::string get_name() const override { return "signal"; }
    double get_sample_freq() const override { return _settings.sample_freq; }
    long get_block_len() const override { return _settings.block_len; }
    void stop() override {
        _stop_flag = true;
        if (_thread.joinable()) {
            _thread.join();
        }
    }
    bool is_alive() override { return !_done_flag; } // gone when the scenario is over
    long get_nbr_xruns() const override { return 0; }
    std::optional<bool> is_real_time() override { return std::nullopt; }

protected:
    void do_start(Callback const& callback) override {
        _callback = callback;
        _thread = std::thread([this] {
            _scenario(*this);
            _done_flag = true;
        });
    }

private:
    Settings _settings;
    Scenario _scenario;
    Callback _callback;
    std::vector<std::vector<float>> _chn_arr;
    std::vector<float const*> _ptr_arr;
    std::atomic<long long> _pos = 0;
    std::atomic<bool> _stop_flag = false;
    std::atomic<bool> _done_flag = false;
    std::thread _thread;
};

} // namespace test
