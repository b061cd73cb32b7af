// The sound of a voice: reading the sample, volume and pan, mixing to the pin.

#include "ulk/ace/baplug/ParamSplVol.h"
#include "ulk/ace/baplug/TapeSpl.h"
#include "ulk/dsp/BasicMixing.h"
#include "ulk/dsp/StereoLevel.h"

#include <algorithm>

namespace ulk::ace::baplug {

namespace {

using dsp::BasicMixing;

// A balance that loses nothing: what leaves one side goes to the other.
dsp::StereoLevel compute_balance(float vol, float pan) {
    if (pan >= 0) {
        return {(1 - pan) * vol, pan * vol, 0, vol};
    }
    return {vol, 0, -pan * vol, (1 + pan) * vol};
}

} // namespace

void TapeSpl::generate_sample(long start, long end) {
    if (!_started_flag) {
        return;
    }
    bool const silent_pin_flag = _pin_ptr->_ignore_flag;
    if (!_generated_flag) {
        generate_silence_on_dirt(); // on an ignored pin too
        _rem_data_flag = _resampler.resample(start, _block_len, !silent_pin_flag);
        _generated_flag = true;
    }
    if (silent_pin_flag) {
        return;
    }
    while (start < end) {
        long const len = _fade_rem > 0 ? std::min(end - start, _fade_rem) : end - start;
        Range vol;
        Range pan;
        compute_seg_vol(vol, len);
        compute_seg_pan(pan, len);
        if (vol[0] > _vol_threshold || vol[1] > _vol_threshold) {
            mix_seg(vol, pan, start, len);
            _mixed_flag = true;
        }
        start += len;
    }
}

// The first voice on a pin pays for the clearing.
void TapeSpl::generate_silence_on_dirt() {
    dsp::AudioDataMultiChn& buf = _pin_ptr->_buf;
    if (buf.get_activity() == dsp::AudioDataMultiChn::Activity_DIRTY) {
        for (int chn = 0; chn < buf.get_nbr_chn(); ++chn) {
            BasicMixing::clear(buf.use_chn(chn), _block_len * get_oversampling_rate());
        }
        buf.set_activity(dsp::AudioDataMultiChn::Activity_CLEARED);
    }
}

void TapeSpl::compute_seg_vol(Range& vol, long len) {
    vol[0] = compute_vol();
    _vol.tick(len);
    advance_fade(len);
    vol[1] = compute_vol();
}

void TapeSpl::compute_seg_pan(Range& pan, long len) {
    pan[0] = static_cast<float>(_pan.get_val());
    _pan.tick(len);
    pan[1] = static_cast<float>(_pan.get_val());
}

float TapeSpl::compute_vol() {
    double const norm = _vol.get_val();
    if (norm != _law_norm) { // most volumes stand still, and the law is an exponential
        _law_norm = norm;
        _law_vol = static_cast<float>(ParamSplVol::conv_direct_param_norm_to_nat(norm));
    }
    return _law_vol * (_fade_vol * _fade_vol * (3 - 2 * _fade_vol)); // smoothstep
}

void TapeSpl::advance_fade(long len) {
    if (_fade_rem > 0) {
        _fade_vol += static_cast<float>(len) * _fade_step;
        _fade_rem -= len;
    }
}

void TapeSpl::mix_seg(Range const& vol, Range const& pan, long start, long len) {
    start *= get_oversampling_rate();
    len *= get_oversampling_rate();
    int const nbr_dest = _pin_ptr->_buf.get_nbr_chn();
    if (nbr_dest == 2 && _nbr_chn == 1) {
        mix_seg_mono_to_stereo(vol, pan, start, len);
    } else if (nbr_dest == 1 && _nbr_chn == 2) {
        mix_seg_stereo_to_mono(vol, pan, start, len);
    } else if (nbr_dest == 2 && _nbr_chn == 2) {
        mix_seg_stereo_to_stereo(vol, pan, start, len);
    } else {
        mix_seg_n_to_m(vol, start, len);
    }
}

// Full level on both sides at the centre.
void TapeSpl::mix_seg_mono_to_stereo(Range const& vol, Range const& pan, long start, long len) {
    mix_chn(0, 0, start, len, (1 - pan[0]) * vol[0], (1 - pan[1]) * vol[1]);
    mix_chn(1, 0, start, len, (1 + pan[0]) * vol[0], (1 + pan[1]) * vol[1]);
}

// The pin has no second channel that the right-hand source could go to: it is dropped, and a host
// that wants a fold-down plays to a stereo pin.
void TapeSpl::mix_seg_stereo_to_mono(Range const& vol, Range const& pan, long start, long len) {
    mix_chn(0, 0, start, len, (1 - pan[0]) * vol[0] * 0.5f, (1 - pan[1]) * vol[1] * 0.5f);
}

void TapeSpl::mix_seg_stereo_to_stereo(Range const& vol, Range const& pan, long start, long len) {
    dsp::AudioDataMultiChn& buf = _pin_ptr->_buf;
    BasicMixing::mix_mat_2_2_vlrauto(
        buf.use_chn(0) + start, buf.use_chn(1) + start, use_src(0, start), use_src(1, start), len,
        compute_balance(vol[0], pan[0]), compute_balance(vol[1], pan[1]));
}

// No pan. Mono to many goes everywhere, many to mono is averaged, others go channel to channel.
void TapeSpl::mix_seg_n_to_m(Range const& vol, long start, long len) {
    int const nbr_dest = _pin_ptr->_buf.get_nbr_chn();
    if (nbr_dest == 1) {
        float const div = static_cast<float>(_nbr_chn);
        for (int chn = 0; chn < _nbr_chn; ++chn) {
            mix_chn(0, chn, start, len, vol[0] / div, vol[1] / div);
        }
    } else if (_nbr_chn == 1) {
        for (int chn = 0; chn < nbr_dest; ++chn) {
            mix_chn(chn, 0, start, len, vol[0], vol[1]);
        }
    } else {
        for (int chn = 0; chn < std::min(_nbr_chn, nbr_dest); ++chn) {
            mix_chn(chn, chn, start, len, vol[0], vol[1]);
        }
    }
}

void TapeSpl::mix_chn(int dest_chn, int src_chn, long start, long len, float lvl_beg,
                      float lvl_end) {
    BasicMixing::mix_1_1_vlrauto(_pin_ptr->_buf.use_chn(dest_chn) + start, use_src(src_chn, start),
                                 len, lvl_beg, lvl_end);
}

float const* TapeSpl::use_src(int chn, long start) const {
    return _cb->use_tmp_buf(TapeSplCbInterface::BufType_RSPL_OUT).ptr +
           chn * _cb->get_tmp_buf_chn_stride() + start;
}

} // namespace ulk::ace::baplug
