#pragma once

#include "host/Graph.h"
#include "host/engine/GainCurve.h"

namespace ulk::host::engine {

// A level of a session on its way through the blocks.
class Fader {
public:
    // points: dB by seconds, counted from frame 0 of pos; they outlive the object.
    Fader(session::Session::Curve const& points, double sample_freq);

    // The gains for the block of len frames from pos on; none when it is unity all along. The list
    // is replaced. real-time once the list has had its largest size
    void find_spans(long long pos, long len, Graph::GainSpans& span_arr);

private:
    GainCurve _curve;
    bool _constant_flag = false; // _gain holds from now on
    double _gain = 1;
};

} // namespace ulk::host::engine
