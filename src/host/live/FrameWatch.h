#pragma once

#include <algorithm>
#include <chrono>
#include <limits>

namespace ulk::host::live {

// Tells a device that is gone, or hangs, by the frames that it asks for: none at all for some time,
// or far more than the clock allows, as some systems do when a device is unplugged.
class FrameWatch {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr auto span = std::chrono::seconds(2); // looked at in one
    static constexpr double max_speed = 4;                // above a device's own

    // sample_freq: Hz. fast_flag: the device may be as fast as it likes.
    FrameWatch(double sample_freq, bool fast_flag)
        : _max_freq(fast_flag ? std::numeric_limits<double>::infinity() : max_speed * sample_freq) {
    }

    // Whether nothing is wrong, nbr_frames after the start; to be asked some times a second. A
    // process that was stopped meanwhile asks again later, and has seen nothing in between.
    bool is_steady(long long nbr_frames, Clock::time_point now) {
        constexpr Clock::duration max_step = std::chrono::milliseconds(250);
        if (!_begun_flag) {
            begin(nbr_frames, now);
        }
        _seen += std::min(now - _last, max_step);
        _last = now;
        if (_seen >= span) {
            double const time = std::chrono::duration<double>(now - _beg).count();
            auto const len = static_cast<double>(nbr_frames - _beg_frames);
            _steady_flag = _steady_flag && len > 0 && len <= time * _max_freq;
            begin(nbr_frames, now);
        }
        return _steady_flag;
    }

private:
    void begin(long long nbr_frames, Clock::time_point now) {
        _begun_flag = true;
        _beg = _last = now;
        _seen = {};
        _beg_frames = nbr_frames;
    }

    double _max_freq; // Hz
    bool _begun_flag = false;
    bool _steady_flag = true;
    Clock::time_point _beg;    // of what is looked at
    Clock::time_point _last;   // asked
    Clock::duration _seen{};   // since _beg
    long long _beg_frames = 0; // at _beg
};

} // namespace ulk::host::live
