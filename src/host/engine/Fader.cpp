#include "host/engine/Fader.h"

namespace ulk::host::engine {

Fader::Fader(session::Session::Curve const& points, double sample_freq)
    : _curve(points, 0, sample_freq, {}) {}

void Fader::find_spans(long long pos, long len, Graph::GainSpans& span_arr) {
    span_arr.clear();
    if (!_constant_flag && _curve.is_constant_from(pos)) {
        _constant_flag = true;
        _gain = _curve.find_piece(pos, 1).beg;
    }
    if (_constant_flag) {
        if (_gain != 1) {
            auto const gain = static_cast<float>(_gain);
            span_arr.push_back({0, len, gain, gain});
        }
        return;
    }
    for (long done = 0; done < len;) {
        auto const piece = _curve.find_piece(pos + done, len - done);
        span_arr.push_back(
            {done, piece.len, static_cast<float>(piece.beg), static_cast<float>(piece.end)});
        done += piece.len;
    }
}

} // namespace ulk::host::engine
