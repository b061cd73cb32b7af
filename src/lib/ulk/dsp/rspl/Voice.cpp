#include "ulk/dsp/rspl/Voice.h"

#include "ulk/dsp/BasicMixing.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

namespace ulk::dsp::rspl {

namespace {

__extension__ using Int128 = __int128;

// Sum of a rate that grows by step, over nbr_spl frames, in units of 2^-32.
Int128 sum_rate(math::FixedPoint rate, math::FixedPoint step, long nbr_spl) {
    Int128 const n = nbr_spl;
    return n * rate.get_raw() + n * (n - 1) / 2 * step.get_raw();
}

} // namespace

Voice::Voice() {
    BasicMixing::setup();
}

void Voice::set_interpolator(InterpolatorInterface& interp) {
    long long pos;
    unsigned int frac;
    get_playback_pos(pos, frac);
    _interp_ptr = &interp;
    interp.set_ovrspl_l2(_ovrspl_l2);
    _impulse_len = interp.get_impulse_len();
    _group_delay = interp.get_group_delay();
    set_playback_pos(pos, frac);
    if (_started_flag) {
        interp.start(_nbr_chn);
    }
}

void Voice::set_sample_freq(double fs, int ovrspl_l2) {
    _sample_freq = fs;
    _ovrspl_l2 = ovrspl_l2;
    if (_interp_ptr != nullptr) {
        _interp_ptr->set_ovrspl_l2(ovrspl_l2);
    }
}

void Voice::set_tmp_buf(float* ptr, long len) {
    _tmp_buf_ptr = ptr;
    _tmp_buf_len = len;
    if (is_active()) {
        update_tmp_buf_info();
    }
}

void Voice::update_tmp_buf_info() {
    _tmp_chn_len = _tmp_buf_len / _nbr_chn;
}

void Voice::set_fade_duration(double duration) {
    _fade_duration = duration;
}

void Voice::activate(SplDataRetrievalInterface& data, long long spl_len, int nbr_chn,
                     double spl_freq) {
    assert(nbr_chn > 0 && nbr_chn <= MAX_NBR_CHN);
    _data_ptr = &data;
    _spl_len = spl_len;
    _nbr_chn = nbr_chn;
    _spl_freq = spl_freq;
    update_tmp_buf_info();
    _loop_mode = LoopMode_NONE;
    _dir = 1;
    set_playback_pos(0, 0);
    _started_flag = false;
    _stopping_flag = false;
    _fade_rem = 0;
}

void Voice::set_rate(double rate, double rate_step) {
    _rate = FixedPoint::from_double(rate);
    _rate_step = FixedPoint::from_double(rate_step);
}

void Voice::set_direction(bool backward_flag) {
    long long pos;
    unsigned int frac;
    get_playback_pos(pos, frac);
    _dir = backward_flag ? -1 : 1;
    set_playback_pos(pos, frac);
}

void Voice::set_playback_pos(long long pos, unsigned int frac) {
    _pos = pos;
    _pos_frac = frac;
    compensate_pos_for_group_delay(_pos, _pos_frac, _dir);
}

void Voice::get_playback_pos(long long& pos, unsigned int& frac) const {
    long long const comp = compute_compensation().get_raw() + _pos_frac;
    pos = _pos + _dir * (comp >> 32);
    frac = static_cast<unsigned int>(comp);
}

void Voice::conv_pos_flt_to_fix(long long& pos, unsigned int& frac, double pos_flt) {
    double const int_part = std::floor(pos_flt);
    pos = static_cast<long long>(int_part);
    frac = static_cast<unsigned int>(std::min((pos_flt - int_part) * 4294967296.0, 4294967295.0));
}

void Voice::set_loop_info(LoopMode mode, long long beg, long long len) {
    _loop_mode = mode;
    _loop_beg = beg;
    _loop_end = beg + std::min(len, std::numeric_limits<long long>::max() - std::max(beg, 0LL));
}

void Voice::start(bool fade_flag) {
    _interp_ptr->start(_nbr_chn);
    _fade_vol = fade_flag ? 0.0f : 1.0f;
    _fade_rem = 0;
    if (fade_flag) {
        setup_fade(1);
    }
    _started_flag = true;
}

void Voice::stop(bool fade_flag) {
    _stopping_flag = true;
    _fade_rem = 0;
    if (fade_flag && _fade_vol != 0) {
        setup_fade(0);
    }
}

void Voice::process_block(float** dest_arr, long nbr_spl) {
    if (!is_active() || (_stopping_flag && _fade_rem < 1)) {
        clear_chn(dest_arr, 0, nbr_spl);
        deactivate();
        return;
    }
    generate(dest_arr, nbr_spl);
    if (_fade_rem > 0) {
        apply_fade(dest_arr, nbr_spl);
    }
    if (_stopping_flag && _fade_rem < 1) {
        deactivate();
    }
}

// The cursor names the first frame of the impulse, the public position its centre.
void Voice::compensate_pos_for_group_delay(long long& pos, unsigned int& frac, int dir) const {
    long long const raw = frac - compute_compensation().get_raw();
    pos += dir * (raw >> 32);
    frac = static_cast<unsigned int>(raw);
}

math::FixedPoint Voice::compute_compensation() const {
    return FixedPoint(_impulse_len - 1) - _group_delay;
}

void Voice::setup_fade(float target) {
    _fade_rem = std::max(std::lround(_fade_duration * _sample_freq), 1L);
    _fade_step = (target - _fade_vol) / static_cast<float>(_fade_rem);
}

bool Voice::is_finished() const {
    return _dir > 0 ? _pos >= _spl_len : _pos < 0;
}

// Silence from pos to the end of the block, the last one of the voice.
void Voice::finish(float* const* dest_arr, long pos, long nbr_spl) {
    clear_chn(dest_arr, pos, nbr_spl - pos);
    _stopping_flag = true;
    _fade_rem = 0;
}

void Voice::generate(float* const* dest_arr, long nbr_spl) {
    float* tmp_arr[MAX_NBR_CHN];
    for (int chn = 0; chn < _nbr_chn; ++chn) {
        tmp_arr[chn] = _tmp_buf_ptr + chn * _tmp_chn_len;
    }
    long pos = 0;
    long made = 1;
    while (pos < nbr_spl && made > 0) {
        made = is_finished() ? 0 : generate_pass(dest_arr, tmp_arr, pos, nbr_spl - pos);
        pos += made;
    }
    if (made < 1 || is_finished()) {
        finish(dest_arr, pos, nbr_spl);
    }
}

// Result: the frames made, 0 when the voice can't go on.
long Voice::generate_pass(float* const* dest_arr, float* const* tmp_arr, long pos, long nbr_spl) {
    long const wanted = limit_to_positive_rate(nbr_spl);
    if (wanted < 1 || _tmp_chn_len < _impulse_len) {
        return 0;
    }
    Int128 const span = (sum_rate(_rate, _rate_step, wanted) + _pos_frac) >> 32;
    long const window =
        static_cast<long>(std::min(span + _impulse_len, static_cast<Int128>(_tmp_chn_len)));
    linearise_sample(tmp_arr, window);

    FixedPoint src_pos(0, _pos_frac);
    FixedPoint rate = _rate;
    long const made = _interp_ptr->process_block(dest_arr, tmp_arr, pos, src_pos, wanted, 0, window,
                                                 rate, _rate_step);
    advance_cursor_pos(_pos, _dir, compute_advance(made, _pos_frac));
    _rate += _rate_step * made;
    return made;
}

void Voice::apply_fade(float* const* dest_arr, long nbr_spl) {
    long const len = std::min(_fade_rem, nbr_spl);
    if (len < 1) {
        return;
    }
    float const vol_end = _fade_vol + static_cast<float>(len) * _fade_step;
    for (int chn = 0; chn < _nbr_chn; ++chn) {
        BasicMixing::scale_1_vlr(dest_arr[chn], len, _fade_vol, vol_end);
    }
    _fade_vol = vol_end;
    _fade_rem -= len;
    if (_stopping_flag) {
        clear_chn(dest_arr, len, nbr_spl - len);
    }
}

void Voice::clear_chn(float* const* chn_arr, long pos, long nbr_spl) const {
    for (int chn = 0; nbr_spl > 0 && chn < _nbr_chn; ++chn) {
        BasicMixing::clear(chn_arr[chn] + pos, nbr_spl);
    }
}

// Whole frames by which nbr_spl output frames move the cursor, with the fraction that is left.
long long Voice::compute_advance(long nbr_spl, unsigned int& frac) const {
    Int128 const sum = sum_rate(_rate, _rate_step, nbr_spl) + frac;
    frac = static_cast<unsigned int>(sum);
    return static_cast<long long>(sum >> 32);
}

// Frames to make before a falling rate reaches 0.
long Voice::limit_to_positive_rate(long nbr_spl) const {
    long long const rate = _rate.get_raw();
    long long const step = _rate_step.get_raw();
    if (rate <= 0) {
        return 0;
    }
    if (step >= 0) {
        return nbr_spl;
    }
    return static_cast<long>(std::min<long long>(nbr_spl, (rate - 1) / -step + 1));
}

} // namespace ulk::dsp::rspl
