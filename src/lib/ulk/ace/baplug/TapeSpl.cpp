// The life of a note: events, start, fades, end. The sound is in TapeSplMix.cpp.

#include "ulk/ace/baplug/TapeSpl.h"

#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/ParamSplVol.h"
#include "ulk/ace/baplug/TapeCst.h"
#include "ulk/sacc/SplCacheRtInterface.h"
#include "ulk/udbg/log.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ulk::ace::baplug {

namespace {

constexpr double ln_2_over_12 = 0.057762265046662105;
constexpr double reach_max = 0x1p52; // positions that a double tells to the frame

// Frames; 0 for what is none, as of a rate that is no number.
long round_to_len(double val) {
    return val > 0 && val < reach_max ? static_cast<long>(std::floor(val + 0.5)) : 0;
}

// Nearest integer; what is out of range, or no number, gives a limit.
long long conv_to_int(double val, double val_min, double val_max) {
    return static_cast<long long>(std::max(val_min, std::min(val_max, std::floor(val + 0.5))));
}

// A parameter change for another note or none, which most events of a busy block are.
bool is_foreign_change(kryn::PluginDsp::Event const& evt, unsigned long note_id) {
    auto const& loc = evt.param.location;
    return evt.type == kryn::PluginDsp::EventType_PARAM &&
           (loc.scope != kryn::ParamScope_NOTE ||
            static_cast<unsigned long>(loc.note_id) != note_id);
}

void set_at_once(ParamValMgrSmooth& mgr, double val) {
    mgr.set_val(val);
    mgr.clear_buffers();
}

} // namespace

TapeSpl::TapeSpl() {
    set_at_once(_vol, ParamSplVol::get_direct_default_norm_val());
    for (ParamValMgrSmooth* mgr : {&_pan, &_vol}) {
        mgr->set_smooth_time(static_cast<double>(_inertia_time));
    }
    update_lookahead();
}

void TapeSpl::set_sample_freq(double sample_freq) {
    _sample_freq = sample_freq;
    _pan.set_sample_freq(sample_freq);
    _vol.set_sample_freq(sample_freq);
    update_lookahead();
}

// By the sample's frequency, though the rate already holds its ratio to the plug-in's.
void TapeSpl::update_lookahead() {
    double const len = static_cast<double>(_rate) * _spl_freq * TapeCst::_prefetch_lookahead;
    _lookahead = static_cast<long>(std::min(reach_max, len)) + TapeCst::_prefetch_grain;
}

void TapeSpl::activate_sample(unsigned long note_id) {
    _active_flag = true;
    _rem_data_flag = true;
    _note_id = note_id;
    _spl_id = 0;
    _pin_index = 0;
    _pan.set_val(0); // what an earlier note left may still be smoothed away
    _pitch = 0;
    _pos = 0;
    _time_stretch = 0;
    _vol.set_val(ParamSplVol::get_direct_default_norm_val());
    _started_flag = false;
    _released_flag = false;
}

void TapeSpl::process_block(long nbr_spl, Dsp::EventList const& events,
                            std::vector<TapePinInfo>& /*pins*/) {
    _block_len = nbr_spl;
    _generated_flag = false;
    _mixed_flag = false;
    NoteFlags flags;
    long cur = 0;
    bool cont_flag = true;
    for (long pos = 0; pos < events.nbr_evt && cont_flag; ++pos) {
        Dsp::Event const& evt = *events.evt_arr[pos];
        long const stamp = std::min(evt.timestamp, nbr_spl); // never beyond the buffers
        if (stamp > cur) {
            cont_flag = handle_accumulated_note_events(flags.on, flags.off, flags.end);
            generate_sample(cur, stamp);
            cur = stamp;
        }
        if (cont_flag && !is_foreign_change(evt, _note_id)) {
            handle_event(evt, flags);
        }
    }
    if (cur < nbr_spl) {
        handle_accumulated_note_events(flags.on, flags.off, flags.end);
        generate_sample(cur, nbr_spl);
    }
    finish_block();
    _block_len = 0;
}

void TapeSpl::handle_event(Dsp::Event const& evt, NoteFlags& flags) {
    // Ids are compared as they were stored.
    auto const is_mine = [this](int id) { return static_cast<unsigned long>(id) == _note_id; };
    switch (evt.type) {
    case Dsp::EventType_PARAM:
        handle_param(evt.param);
        break;
    case Dsp::EventType_NOTE_ON:
        flags.on |= is_mine(evt.note_id);
        break;
    case Dsp::EventType_NOTE_OFF:
        flags.off |= is_mine(evt.note_id);
        break;
    case Dsp::EventType_NOTE_END:
        flags.end |= is_mine(evt.note_id);
        break;
    case Dsp::EventType_ALL_NOTES_OFF:
        flags.off = true;
        break;
    default:
        break;
    }
}

void TapeSpl::handle_param(Dsp::EventParam const& evt) {
    if (_started_flag) {
        handle_param_normal(evt);
    } else {
        handle_param_begin(evt);
    }
}

void TapeSpl::handle_param_begin(Dsp::EventParam const& evt) {
    double const val = evt.val_end;
    switch (evt.location.index) {
    case Param_ID:
        _spl_id = conv_to_int(val, -0x1p62, 0x1p62);
        break;
    case Param_POS:
        _pos = val;
        break;
    case Param_OUT:
        _pin_index = static_cast<int>(conv_to_int(val, -1, std::numeric_limits<int>::max()));
        break;
    case Param_VOL:
        set_at_once(_vol, val);
        break;
    case Param_PITCH:
        _pitch = val;
        break;
    case Param_TIME_STRETCH:
        _time_stretch = val;
        break;
    case Param_PAN:
        set_at_once(_pan, val);
        break;
    default:
        break;
    }
}

void TapeSpl::handle_param_normal(Dsp::EventParam const& evt) {
    switch (evt.location.index) {
    case Param_VOL:
        _vol.set_ramp(evt.ramp_len, evt.val_beg, evt.val_end);
        break;
    case Param_PAN:
        _pan.set_ramp(evt.ramp_len, evt.val_beg, evt.val_end);
        break;
    case Param_ID:
    case Param_POS:
    case Param_OUT:
    case Param_PITCH:
    case Param_TIME_STRETCH:
        ULK_LOG_CACHE(ERROR,
                      "handle_param_normal(): Received change for note parameter %1% after Note On "
                      "(note id: %2%)",
                      evt.location.index, _note_id);
        break;
    default:
        break;
    }
}

// False ends the walk over the block's events: the note could not start, or its end was told. The
// latter is all that a Note End does.
bool TapeSpl::handle_accumulated_note_events(bool& note_on, bool& note_off, bool& note_end) {
    if (note_on) {
        note_on = false;
        if (!start_note()) {
            _active_flag = false;
            note_off = false;
            note_end = false;
            return false;
        }
        start_fade_in();
    }
    if (note_off) {
        note_off = false;
        _released_flag = true;
        start_fade_out();
    }
    return !note_end;
}

bool TapeSpl::start_note() {
    if (_pin_index < 0 || _pin_index >= _cb->get_nbr_pins() || !retrieve_sample_info()) {
        return false;
    }
    double const start = _pos * _spl_freq;
    if (!(start < static_cast<double>(_spl_len) && start > -reach_max)) {
        return false;
    }
    _prefetch_pos = static_cast<long long>(std::floor(start));
    _rate =
        static_cast<float>(std::min(static_cast<double>(rspl::ResamplerCst::max_rate),
                                    std::exp(_pitch * ln_2_over_12) * _spl_freq / _sample_freq));
    _pin_ptr = &_cb->use_pin_mix_buffers(_pin_index);
    _resampler.configure(_cb->use_cache(), _nbr_chn, _rate, _cache_id, _spl_len, start,
                         _cb->use_tmp_buf(TapeSplCbInterface::BufType_RSPL_OUT).ptr,
                         _cb->get_tmp_buf_chn_stride(),
                         _cb->use_tmp_buf(TapeSplCbInterface::BufType_RSPL_SCRATCH).ptr);
    update_lookahead();
    check_prefetch();
    _started_flag = true;
    return true;
}

bool TapeSpl::retrieve_sample_info() {
    long cache_id = 0;
    long long len = 0;
    double freq = 0;
    int nbr_chn = 0;
    if (_cb->get_sample_info(_spl_id, cache_id, len, freq, nbr_chn) != Err_OK || nbr_chn < 1 ||
        nbr_chn > _nbr_chn_max || !(freq > 0)) {
        ULK_LOG_CACHE(ERROR,
                      "handle_accumulated_note_events(): Cannot retrieve sample information "
                      "(KRYN id %1%)",
                      _spl_id);
        return false;
    }
    _cache_id = cache_id;
    _spl_len = std::min(len, static_cast<long long>(reach_max));
    _spl_freq = freq;
    _nbr_chn = nbr_chn;
    return true;
}

// A note at the head of its sample begins at once; inside the audio it must not click.
void TapeSpl::start_fade_in() {
    if (_pos <= 0) {
        _fade_rem = 0;
        _fade_vol = 1;
        _pan.end_smoothing();
        _vol.end_smoothing();
    } else {
        _fade_rem = round_to_len(_sample_freq * _fade_time);
        _fade_vol = 0;
        _fade_step = 1.0f / static_cast<float>(_fade_rem);
    }
}

// From where the fade stands, in proportion.
void TapeSpl::start_fade_out() {
    _fade_rem = round_to_len(_sample_freq * _fade_time * _fade_vol);
    if (_fade_rem > 0) {
        _fade_step = -_fade_vol / static_cast<float>(_fade_rem);
    }
}

void TapeSpl::finish_block() {
    if (_mixed_flag) {
        _pin_ptr->_buf.set_activity(dsp::AudioDataMultiChn::Activity_NORMAL);
    }
    if (_active_flag) {
        if (!_rem_data_flag || (_released_flag && _fade_rem <= 0)) {
            _active_flag = false;
        } else if (_started_flag) {
            check_prefetch();
        }
    }
}

void TapeSpl::check_prefetch() {
    long long const target =
        static_cast<long long>(std::floor(_resampler.get_cur_play_pos() + 0.5)) + _lookahead;
    if (target < _prefetch_pos + TapeCst::_prefetch_grain) {
        return;
    }
    long long const rem = _spl_len - _prefetch_pos;
    if (rem > 0) {
        long const len = static_cast<long>(std::min(rem, target - _prefetch_pos));
        if (_cb->use_cache().prefetch_data(_cache_id, _prefetch_pos, len) != 0) {
            ULK_LOG_CACHE(ERROR,
                          "check_prefetch(): Cannot prefetch sample data (KRYN id %1%, cache id "
                          "%2%), start = %3%, len = %4%",
                          _spl_id, _cache_id, _prefetch_pos, len);
        }
    }
    _prefetch_pos = target; // also after a failure: asking again would only fail again
}

} // namespace ulk::ace::baplug
