#include "ulk/ace/baplug/ParamValMgrSmooth.h"

#include <algorithm>
#include <cmath>

namespace ulk::ace::baplug {

namespace {

// A length in frames, rounded up; 0, which bounds nothing, where the slope of a run makes the
// quotient meaningless.
long conv_to_len(double quotient) {
    return std::abs(quotient) < 0x1p31 ? static_cast<long>(std::ceil(quotient)) : 0;
}

} // namespace

double ParamValMgrSmooth::get_val() const {
    return _smooth_flag ? static_cast<double>(_smooth_val) : _mgr.get_val();
}

void ParamValMgrSmooth::set_val(double val) {
    double const old = get_val();
    _mgr.set_val(val);
    start_smoothing(old);
}

void ParamValMgrSmooth::set_ramp(long ramp_len, double val_beg, double val_end) {
    double const old = get_val();
    _mgr.set_ramp(ramp_len, val_beg, val_end);
    start_smoothing(old);
}

void ParamValMgrSmooth::tick(long len) {
    double const prev = _mgr.get_val();
    _mgr.tick(len);
    if (_smooth_flag) {
        double const next = _smooth_val + static_cast<double>(len) * _smooth_step;
        bool const same_side_flag = (_smooth_val - prev) * (next - _mgr.get_val()) > 0;
        if (same_side_flag) {
            _smooth_val = next;
        } else {
            _smooth_flag = false;
        }
    }
}

void ParamValMgrSmooth::clear_buffers() {
    _smooth_flag = false;
    _mgr.end_ramp();
}

void ParamValMgrSmooth::bound_len(long& len) const {
    long bound = _mgr.get_ramp_rem();
    if (_smooth_flag) {
        bound = std::max(bound, conv_to_len((_mgr.get_val_end() - _smooth_val) / _smooth_step));
        if (bound_by_crossing(len, bound)) {
            return;
        }
    }
    if (bound >= 1) {
        len = std::min(len, bound);
    }
}

// The time until the smoothing value meets the real one, if that comes before bound.
bool ParamValMgrSmooth::bound_by_crossing(long& len, long bound) const {
    double const rel = (_mgr.get_ramp_rem() < 1 ? 0 : _mgr.get_step()) - _smooth_step;
    if (rel == 0) {
        return false;
    }
    long const cross = conv_to_len((_smooth_val - _mgr.get_val()) / rel);
    if (cross < 1 || cross >= bound) {
        return false;
    }
    len = std::min(len, cross);
    return true;
}

// old: effective value before a change. The run aims at where the real value will be one frame
// after its end.
void ParamValMgrSmooth::start_smoothing(double old) {
    double const diff = std::abs(_mgr.get_val() - old);
    double const mean = std::abs((_mgr.get_val() + old) * 0.5);
    if (mean == 0 || !(diff / mean > 0.001)) {
        return;
    }
    long const len = conv_to_len(_smooth_time * _sample_freq);
    long const aim = len + 1;
    double const dest = aim < _mgr.get_ramp_rem()
                            ? static_cast<double>(aim) * _mgr.get_step() + _mgr.get_val()
                            : _mgr.get_val_end();
    _smooth_flag = true;
    _smooth_val = old;
    _smooth_step = (dest - old) / static_cast<double>(len);
}

} // namespace ulk::ace::baplug
