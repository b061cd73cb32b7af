// The real-time side of the dry/wet mixer.

#include "ulk/ace/BufferClearer.h"
#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/DryWet.h"
#include "ulk/ace/baplug/ParamDryWet.h"
#include "ulk/ace/baplug/ParamGain.h"
#include "ulk/dsp/BasicMixing.h"

#include <cmath>

namespace ulk::ace::baplug {

namespace {

constexpr double silence_level = 1e-6;   // at or below: no signal
constexpr double unity_tolerance = 1e-3; // around 1: plain copies do

bool is_unity(double level) {
    return std::abs(level - 1) <= unity_tolerance;
}

} // namespace

int DryWet::process(CmdPlug::Process& cmd) {
    _proc_ptr = &cmd;
    prepare_buffers();
    _proc_loop.process(cmd.evt_list, cmd.nbr_spl, &DryWet::process_drywet_samples,
                       &DryWet::process_drywet_events);
    finalise_buffers();
    _proc_ptr = nullptr;
    return Err_OK;
}

void DryWet::prepare_buffers() {
    for (PinState& pin : _pin_state_arr) {
        pin.written = false;
    }
}

void DryWet::finalise_buffers() {
    for (std::size_t pin = 0; pin < _pin_state_arr.size(); ++pin) {
        Dsp::PinData& out = _proc_ptr->port_out.pin_arr[pin];
        if (out.state == Dsp::State_SIGNAL && !_pin_state_arr[pin].written) {
            out.state = Dsp::State_DIRTY;
        }
    }
}

void DryWet::process_drywet_events(Dsp::Event const& evt) {
    if (evt.type != Dsp::EventType_PARAM) {
        return;
    }
    Dsp::EventParam const& change = evt.param;
    int const index = change.location.index;
    if (change.location.scope == kryn::ParamScope_GLOBAL && index >= 0 && index < Param_NBR_ELT) {
        _param_arr[index]->set_ramp(change.ramp_len, change.val_beg, change.val_end);
    }
}

void DryWet::process_drywet_samples(long beg, long end) {
    long pos = beg;
    while (pos < end) {
        long len = end - pos;
        bound_sub_proc_len_with_params(len);
        Levels const lvl_beg = compute_levels(); // a copy: the next call moves it on
        tick_param(len);
        Levels const lvl_end = compute_levels();
        mix_pins({pos, len}, lvl_beg, lvl_end);
        pos += len;
    }
}

void DryWet::bound_sub_proc_len_with_params(long& len) const {
    for (ParamValMgrSmooth const* param : _param_arr) {
        param->bound_len(len);
    }
}

void DryWet::tick_param(long len) {
    for (ParamValMgrSmooth* param : _param_arr) {
        param->tick(len);
    }
}

DryWet::Levels const& DryWet::compute_levels() {
    LevelKey const key = {_param_drywet.get_val(), _param_bypass.get_val(), _param_gain.get_val()};
    if (key != _level_key) {
        double const d = ParamDryWet::st_conv_norm_to_nat_no_check(key.drywet);
        double const g = ParamGain::conv_direct_param_norm_to_nat(key.gain);
        // The bypass lies between 0 and 1 while it smooths: a cross-fade.
        double const w = (1 - d) * (1 - key.bypass);
        _level_key = key;
        _levels = {1 - w, w * g};
    }
    return _levels;
}

void DryWet::mix_pins(Segment seg, Levels const& beg, Levels const& end) {
    for (std::size_t pin = 0; pin < _pin_state_arr.size(); ++pin) {
        Dsp::PinData const& wet = _proc_ptr->port_in.pin_arr[pin * 2];
        Dsp::PinData const& dry = _proc_ptr->port_in.pin_arr[pin * 2 + 1];
        Dsp::PinData& out = _proc_ptr->port_out.pin_arr[pin];
        bool has_content = false; // the second source adds to what the first one wrote
        mix_one_pin(seg, beg.dry, end.dry, _pin_state_arr[pin], dry, out, has_content);
        mix_one_pin(seg, beg.wet, end.wet, _pin_state_arr[pin], wet, out, has_content);
    }
}

void DryWet::mix_one_pin(Segment seg, double lvl_beg, double lvl_end, PinState& pin,
                         Dsp::PinData const& in, Dsp::PinData& out, bool& has_content) {
    bool const silent_flag = lvl_beg <= silence_level && lvl_end <= silence_level;
    if (silent_flag || in.state != Dsp::State_SIGNAL) {
        if (pin.written && !has_content) {
            for (int chn = 0; chn < pin.nbr_chn; ++chn) {
                BufferClearer::clear_buf_antidenormal_fast(out.chn_arr[chn] + seg.pos, seg.len);
            }
        }
        return;
    }
    if (out.state != Dsp::State_SIGNAL) {
        return;
    }
    if (!pin.written && seg.pos >= 1) {
        // The output was silent up to here, and nobody had cleared it yet.
        for (int chn = 0; chn < pin.nbr_chn; ++chn) {
            BufferClearer::clear_buf_antidenormal_fast(out.chn_arr[chn], seg.pos);
        }
    }
    if (is_unity(lvl_beg) && is_unity(lvl_end)) {
        transfer_unity(seg, pin.nbr_chn, in, out, has_content);
    } else {
        transfer_level(seg, lvl_beg, lvl_end, pin.nbr_chn, in, out, has_content);
    }
    has_content = true;
    pin.written = true;
}

void DryWet::transfer_unity(Segment seg, int nbr_chn, Dsp::PinData const& in, Dsp::PinData& out,
                            bool mix_flag) {
    auto const fnc = mix_flag ? dsp::BasicMixing::mix_1_1 : dsp::BasicMixing::copy_1_1;
    for (int chn = 0; chn < nbr_chn; ++chn) {
        fnc(out.chn_arr[chn] + seg.pos, in.chn_arr[chn] + seg.pos, seg.len);
    }
}

// A ramp waits for its level from frame to frame: two channels at once share that wait.
void DryWet::transfer_level(Segment seg, double lvl_beg, double lvl_end, int nbr_chn,
                            Dsp::PinData const& in, Dsp::PinData& out, bool mix_flag) {
    using dsp::BasicMixing;
    auto const one = mix_flag ? BasicMixing::mix_1_1_vlrauto : BasicMixing::copy_1_1_vlrauto;
    auto const two = mix_flag ? BasicMixing::mix_2_2_vlrauto : BasicMixing::copy_2_2_vlrauto;
    auto const dst = [&](int chn) { return out.chn_arr[chn] + seg.pos; };
    auto const src = [&](int chn) { return in.chn_arr[chn] + seg.pos; };
    float const beg = static_cast<float>(lvl_beg);
    float const end = static_cast<float>(lvl_end);
    int chn = 0;
    for (; chn + 2 <= nbr_chn; chn += 2) {
        two(dst(chn), dst(chn + 1), src(chn), src(chn + 1), seg.len, beg, end);
    }
    if (chn < nbr_chn) {
        one(dst(chn), src(chn), seg.len, beg, end);
    }
}

void DryWet::defer_silent_pin(Dsp::PinData& pin, int nbr_chn, long nbr_spl) {
    if (pin.state != Dsp::State_DIRTY) {
        return;
    }
    for (int chn = 0; chn < nbr_chn; ++chn) {
        BufferClearer::clear_buf_antidenormal_fast(pin.chn_arr[chn], nbr_spl);
    }
    pin.state = Dsp::State_CLEARED;
}

void DryWet::clear_output_buffers(long pos, long len) {
    for (std::size_t pin = 0; pin < _pin_state_arr.size(); ++pin) {
        Dsp::PinData const& out = _proc_ptr->port_out.pin_arr[pin];
        if (out.state != Dsp::State_SIGNAL || !_pin_state_arr[pin].written) {
            continue;
        }
        for (int chn = 0; chn < _pin_state_arr[pin].nbr_chn; ++chn) {
            BufferClearer::clear_buf_antidenormal_fast(out.chn_arr[chn] + pos, len);
        }
    }
}

} // namespace ulk::ace::baplug
