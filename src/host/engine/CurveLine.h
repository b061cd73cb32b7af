#pragma once

#include "host/session/Session.h"

namespace ulk::host::engine {

// The straight line of a session's curve at a place. Positions are frames from where the points'
// times count; they reach far out before the first point and behind the last. Reading is real-time.
struct CurveLine {
    static constexpr long long far_pos = std::numeric_limits<long long>::max() / 4;

    // points: one or more, by seconds. The line that begins at pos or holds it.
    static CurveLine find(session::Session::Curve const& points, double sample_freq, long long pos);

    double find_val(long long pos) const;
    bool is_constant() const { return val_beg == val_end; }
    // Where it crosses 0, about; far_pos when it does not.
    long long find_zero() const;

    long long beg;
    long long end;
    double val_beg;
    double val_end;
};

} // namespace ulk::host::engine
