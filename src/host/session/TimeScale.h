#pragma once

#include "host/session/TempoMap.h"
#include "host/session/TimeOrigin.h"
#include "host/session/TimeText.h"

#include <optional>

namespace ulk::host::session {

// What the times of a session mean.
struct TimeScale {
    double sample_freq = 48000; // Hz
    TempoMap tempo_map;

    // Seconds; nothing for a bar or beat that is not there.
    std::optional<double> conv(TimeText const& time, TimeOrigin const& origin) const;
};

} // namespace ulk::host::session
