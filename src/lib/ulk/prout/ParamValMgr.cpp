#include "ulk/prout/ParamValMgr.h"

namespace ulk::prout {

void ParamValMgr::set_range(double val_min, double val_max) {
    _val_min = val_min;
    _val_max = val_max;
}

void ParamValMgr::set_val(double val) {
    _val = val;
    _val_end = val;
    _ramp_rem = 0;
    notify_observers();
}

void ParamValMgr::set_ramp(long ramp_len, double val_beg, double val_end) {
    _val_end = val_end;
    if (ramp_len == 0) {
        _val = val_end;
        _ramp_rem = 0;
    } else {
        _val = val_beg;
        _step = (val_end - val_beg) / static_cast<double>(ramp_len);
        _ramp_rem = _step == 0 ? 0 : ramp_len;
    }
    notify_observers();
}

void ParamValMgr::tick(long len) {
    if (len < _ramp_rem) {
        _val = _val + static_cast<double>(len) * _step;
        _ramp_rem -= len;
    } else {
        _val = _val_end;
        _ramp_rem = 0;
    }
    if (_ramp_rem > 0) {
        notify_observers();
    }
}

void ParamValMgr::end_ramp() {
    _ramp_rem = 0;
    _val = _val_end;
    _step = 0;
}

} // namespace ulk::prout
