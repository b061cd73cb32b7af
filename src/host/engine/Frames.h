#pragma once

#include <algorithm>
#include <cmath>

namespace ulk::host::engine {

// A time in seconds as the nearest frame, held within what frames can be counted with. real-time
inline long long conv_to_frames(double time, double sample_freq) {
    constexpr double limit = 1e15;
    return std::llround(std::clamp(time * sample_freq, -limit, limit));
}

} // namespace ulk::host::engine
