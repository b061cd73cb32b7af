#include "ulk/dsp/rspl/SnhTool.h"

#include <algorithm>
#include <bit>
#include <cassert>

namespace ulk::dsp::rspl {

void SnhTool::set_nbr_chn(int nbr_chn) {
    assert(nbr_chn >= 0 && nbr_chn <= MAX_NBR_CHN);
    _nbr_chn = nbr_chn;
    reset();
}

void SnhTool::set_ovrspl(int ovrspl_l2) {
    _ovrspl_l2 = ovrspl_l2;
    _hold_time = 1;
    reset();
}

void SnhTool::clear_buffers() {
    std::fill_n(_chn_state, MAX_NBR_CHN, ChnState{0, 0});
    reset();
}

void SnhTool::reset() {
    _hold_pos = 0;
    _rep_index = 0;
    _interp_rem = 0;
}

void SnhTool::process_data(float* const* data, long nbr_spl, FixedPoint const& rate,
                           FixedPoint const& rate_step) {
    int const hold_time = compute_hold_time(rate + rate_step * nbr_spl);
    long pos = 0;
    while (pos < nbr_spl) {
        long len = nbr_spl - pos;
        if (_interp_rem > 0) {
            len = std::min(len, _interp_rem);
            process_data_interpolate(data, pos, len);
        } else if (hold_time != _hold_time && _hold_pos == 0) {
            start_change(hold_time);
            continue;
        } else {
            if (hold_time != _hold_time) {
                len = compute_head(len);
            }
            process_data_steady_state(data, pos, len);
        }
        pos += len;
    }
}

void SnhTool::compute_snh_data(int& hold_time, int& hold_pos, long nbr_spl, FixedPoint const& rate,
                               FixedPoint const& rate_step) const {
    bool const falling_flag = rate_step < FixedPoint();
    int const wanted = compute_hold_time(falling_flag ? rate : rate + rate_step * nbr_spl);
    hold_time = std::min(wanted, _hold_time);
    hold_pos = (hold_time - 1) & _hold_pos;
}

// Rate and step are replaced by their sums over a period: the last term is what the step adds
// within the first one.
void SnhTool::adjust_rate_param(long& pos, FixedPoint& src_pos, FixedPoint& rate,
                                FixedPoint& rate_step, int hold_time, int hold_pos) {
    archi::Int64 const hold = hold_time;
    archi::Int64 const skip = (hold - hold_pos) % hold;
    pos += static_cast<long>(skip);
    src_pos += rate * skip + rate_step * (skip * (skip - 1) / 2);
    rate += rate_step * skip;
    rate = rate * hold + rate_step * (hold * (hold - 1) / 2);
    rate_step *= hold * hold;
}

int SnhTool::compute_hold_time(FixedPoint rate) const {
    if (_ovrspl_l2 == 0 || rate >= FixedPoint(0, 0x80000000U)) {
        return 1;
    }
    return 1 << std::min(std::countl_zero(rate.get_frac()), _ovrspl_l2);
}

void SnhTool::start_change(int hold_time) {
    int const lo = std::min(hold_time, _hold_time);
    int const hi = std::max(hold_time, _hold_time);
    bool const shorter_flag = hi == _hold_time;
    float const step = 1.0f / INTERP_LEN;
    _interp_rem = INTERP_LEN;
    _interp_val = shorter_flag ? 1.0f : 0.0f;
    _interp_step = shorter_flag ? -step : step;
    _rep_index = 0;
    _nbr_rep = hi / lo;
    _hold_time = lo;
}

// Goes on in the middle of a long period if that is the one that was wanted.
void SnhTool::finish_change() {
    if (_interp_step > 0) {
        _hold_pos += _rep_index * _hold_time;
        _hold_time *= _nbr_rep;
        for (ChnState& state : _chn_state) {
            state.new_val = state.old_val;
        }
    }
    _rep_index = 0;
    _nbr_rep = 1;
}

void SnhTool::process_data_steady_state(float* const* data, long pos, long nbr_spl) {
    long const head = compute_head(nbr_spl);
    long const block = round_to_periods(nbr_spl - head);
    process_data_steady_state_naive(data, pos, head);
    process_data_steady_state_block(data, pos + head, block);
    process_data_steady_state_naive(data, pos + head + block, nbr_spl - head - block);
}

void SnhTool::process_data_steady_state_naive(float* const* data, long pos, long nbr_spl) {
    int hold_pos = _hold_pos;
    for (int chn = 0; chn < _nbr_chn; ++chn) {
        float* const buf = data[chn] + pos;
        float held = _chn_state[chn].new_val;
        hold_pos = _hold_pos;
        for (long i = 0; i < nbr_spl; ++i) {
            if (hold_pos == 0) {
                held = buf[i];
            } else {
                buf[i] = held;
            }
            hold_pos = (hold_pos + 1) & (_hold_time - 1);
        }
        _chn_state[chn].new_val = held;
    }
    _hold_pos = hold_pos;
}

// Whole periods, from the first frame of one.
void SnhTool::process_data_steady_state_block(float* const* data, long pos, long nbr_spl) {
    for (int chn = 0; nbr_spl > 0 && chn < _nbr_chn; ++chn) {
        float* const buf = data[chn] + pos;
        for (long i = 0; _hold_time > 1 && i < nbr_spl; i += _hold_time) {
            std::fill_n(buf + i + 1, _hold_time - 1, buf[i]);
        }
        _chn_state[chn].new_val = buf[nbr_spl - 1];
    }
}

void SnhTool::process_data_interpolate(float* const* data, long pos, long nbr_spl) {
    long const head = compute_head(nbr_spl);
    long const block = round_to_periods(nbr_spl - head);
    process_data_interpolate_naive(data, pos, head);
    process_data_interpolate_block(data, pos + head, block);
    process_data_interpolate_naive(data, pos + head + block, nbr_spl - head - block);
    _interp_rem -= nbr_spl;
    if (_interp_rem < 1) {
        finish_change();
    }
}

void SnhTool::process_data_interpolate_naive(float* const* data, long pos, long nbr_spl) {
    int hold_pos = _hold_pos;
    int rep_index = _rep_index;
    for (int chn = 0; chn < _nbr_chn; ++chn) {
        float* const buf = data[chn] + pos;
        ChnState& state = _chn_state[chn];
        float val = _interp_val;
        hold_pos = _hold_pos;
        rep_index = _rep_index;
        for (long i = 0; i < nbr_spl; ++i) {
            if (hold_pos == 0) {
                state.new_val = buf[i];
                state.old_val = rep_index == 0 ? buf[i] : state.old_val;
            }
            buf[i] = state.new_val + val * (state.old_val - state.new_val);
            val += _interp_step;
            hold_pos = (hold_pos + 1) & (_hold_time - 1);
            if (hold_pos == 0) {
                rep_index = (rep_index + 1) & (_nbr_rep - 1);
            }
        }
    }
    _hold_pos = hold_pos;
    _rep_index = rep_index;
    _interp_val += static_cast<float>(nbr_spl) * _interp_step; // exact: a multiple of 1/256
}

// Whole short periods, from the first frame of one.
void SnhTool::process_data_interpolate_block(float* const* data, long pos, long nbr_spl) {
    long const nbr_periods = nbr_spl / _hold_time;
    for (int chn = 0; chn < _nbr_chn; ++chn) {
        float* buf = data[chn] + pos;
        ChnState& state = _chn_state[chn];
        float val = _interp_val;
        for (long period = 0; period < nbr_periods; ++period) {
            state.new_val = buf[0];
            if (((_rep_index + period) & (_nbr_rep - 1)) == 0) {
                state.old_val = buf[0];
            }
            float const diff = state.old_val - state.new_val;
            for (int i = 0; i < _hold_time; ++i) {
                buf[i] = state.new_val + val * diff;
                val += _interp_step;
            }
            buf += _hold_time;
        }
    }
    _rep_index = static_cast<int>((_rep_index + nbr_periods) & (_nbr_rep - 1));
    _interp_val += static_cast<float>(nbr_spl) * _interp_step;
}

// Frames up to the end of a period that has begun.
long SnhTool::compute_head(long nbr_spl) const {
    return std::min<long>(nbr_spl, (_hold_time - _hold_pos) & (_hold_time - 1));
}

long SnhTool::round_to_periods(long nbr_spl) const {
    return nbr_spl & -static_cast<long>(_hold_time);
}

} // namespace ulk::dsp::rspl
