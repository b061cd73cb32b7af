// The real-time side of the tape plug-in: one block.

#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/ParamGlobVol.h"
#include "ulk/ace/baplug/Tape.h"
#include "ulk/dsp/BasicMixing.h"

#include <algorithm>

namespace ulk::ace::baplug {

using dsp::AudioDataMultiChn;
using dsp::BasicMixing;

int Tape::process(CmdPlug::Process& cmd) {
    if (cmd.nbr_spl <= 0) {
        return Err_OK;
    }
    process_prepare_buf(cmd);
    process_voices(cmd);
    process_downsample(cmd.nbr_spl);
    process_scan_master(cmd);
    process_finalise_buf(cmd);
    return Err_OK;
}

int Tape::clear_buffers() {
    _vol.clear_buffers();
    _pitch_shift.clear_buffers();
    return Err_OK;
}

void Tape::process_prepare_buf(CmdPlug::Process& cmd) {
    for (std::size_t index = 0; index < _pin_arr.size(); ++index) {
        TapePinInfo& pin = _pin_arr[index];
        Dsp::PinData& out = cmd.port_out.pin_arr[index];
        pin._ignore_flag = out.state != Dsp::State_SIGNAL;
        pin._mix_flag =
            !pin._ignore_flag && _in_flag && cmd.port_in.pin_arr[index].state == Dsp::State_SIGNAL;
        if (pin._mix_flag) {
            Dsp::PinData const& in = cmd.port_in.pin_arr[index];
            for (int chn = 0; chn < pin._buf.get_nbr_chn(); ++chn) {
                BasicMixing::copy_1_1(out.chn_arr[chn], in.chn_arr[chn], cmd.nbr_spl);
            }
        } else if (!pin._ignore_flag) {
            out.state = Dsp::State_DIRTY;
        }
        pin._buf.set_activity(AudioDataMultiChn::Activity_DIRTY);
    }
}

// Nothing sounds before the host has told a block length, nor in a block that is longer.
void Tape::process_voices(CmdPlug::Process& cmd) {
    if (cmd.nbr_spl > _chn_stride) {
        return;
    }
    try {
        process_scan_active_samples(cmd);
        process_scan_new_samples(cmd);
    } catch (...) {
        force_voices_off(); // no cache, which is in the log: silence, and the block goes on
    }
}

// Before the new ones, so that no voice runs twice.
void Tape::process_scan_active_samples(CmdPlug::Process& cmd) {
    for (TapeSpl& voice : _voice_arr) {
        if (voice.is_active()) {
            voice.process_block(cmd.nbr_spl, cmd.evt_list, _pin_arr);
        }
    }
}

void Tape::process_scan_new_samples(CmdPlug::Process& cmd) {
    int voice_index = 0;
    for (long pos = 0; pos < cmd.evt_list.nbr_evt; ++pos) {
        Dsp::Event const& evt = *cmd.evt_list.evt_arr[pos];
        if (evt.type != Dsp::EventType_NOTE_ON) {
            continue;
        }
        TapeSpl* const voice_ptr = find_free_voice(voice_index);
        if (voice_ptr == nullptr) {
            return; // the pool is full: the note is lost
        }
        voice_ptr->activate_sample(static_cast<unsigned long>(evt.note_id));
        voice_ptr->process_block(cmd.nbr_spl, cmd.evt_list, _pin_arr);
    }
}

// From voice_index on, which never goes back.
TapeSpl* Tape::find_free_voice(int& voice_index) {
    while (voice_index < _nbr_voices && _voice_arr[voice_index].is_active()) {
        ++voice_index;
    }
    return voice_index < _nbr_voices ? &_voice_arr[voice_index] : nullptr;
}

// Back to the host's rate. The reader does not oversample, so there is nothing to do so far.
void Tape::process_downsample(long nbr_spl) {
    if (_voice_arr[0].get_oversampling_rate() < 2) {
        return;
    }
    for (std::size_t index = 0; index < _pin_arr.size(); ++index) {
        AudioDataMultiChn& buf = _pin_arr[index]._buf;
        if (buf.get_activity() != AudioDataMultiChn::Activity_NORMAL) {
            continue;
        }
        for (int chn = 0; chn < buf.get_nbr_chn(); ++chn) {
            float* const data = buf.use_chn(chn);
            _dspl_arr[index][static_cast<std::size_t>(chn)]->process_block(data, data, nbr_spl);
        }
    }
}

// Cuts the block at the events of the global scope alone.
void Tape::process_scan_master(CmdPlug::Process& cmd) {
    long pos = 0;
    long evt_pos = 0;
    while (pos < cmd.nbr_spl) {
        Dsp::EventParam const* change_ptr = nullptr;
        long end = pos;
        if (evt_pos < cmd.evt_list.nbr_evt) {
            Dsp::Event const& evt = *cmd.evt_list.evt_arr[evt_pos];
            ++evt_pos;
            if (evt.type == Dsp::EventType_PARAM &&
                evt.param.location.scope == kryn::ParamScope_GLOBAL) {
                change_ptr = &evt.param;
                end = std::min(evt.timestamp, cmd.nbr_spl); // never beyond the buffers
            }
        } else {
            end = cmd.nbr_spl;
        }
        if (end > pos) {
            process_master_span(pos, end, cmd.port_out);
            pos = end;
        }
        if (change_ptr != nullptr) {
            int const index = change_ptr->location.index;
            if (index == Param_VOL || index == Param_PITCH_SHIFT) {
                (index == Param_VOL ? _vol : _pitch_shift)
                    .set_ramp(change_ptr->ramp_len, change_ptr->val_beg, change_ptr->val_end);
            }
        }
    }
}

void Tape::process_master_span(long pos, long end, Dsp::ProcessInfoPort& port_out) {
    while (pos < end) {
        long len = end - pos;
        _vol.bound_len(len);
        double const vol_beg = ParamGlobVol::conv_direct_param_norm_to_nat(_vol.get_val());
        _vol.tick(len);
        double const vol_end = ParamGlobVol::conv_direct_param_norm_to_nat(_vol.get_val());
        mix_pins_out(pos, len, vol_beg, vol_end, port_out);
        pos += len;
    }
}

// The state tells the host what its buffers hold. Input that passed through is signal, also where
// no voice added to it; only now, since until here the activity tells what the mix buffers hold.
void Tape::process_finalise_buf(CmdPlug::Process& cmd) {
    for (std::size_t index = 0; index < _pin_arr.size(); ++index) {
        TapePinInfo const& pin = _pin_arr[index];
        if (pin._mix_flag) {
            pin._buf.set_activity(AudioDataMultiChn::Activity_NORMAL);
        }
        cmd.port_out.pin_arr[index].state = pin._buf.get_activity();
    }
}

void Tape::mix_pins_out(long pos, long len, double vol_beg, double vol_end,
                        Dsp::ProcessInfoPort& port_out) {
    float const lvl_beg = static_cast<float>(vol_beg);
    float const lvl_end = static_cast<float>(vol_end);
    for (std::size_t index = 0; index < _pin_arr.size(); ++index) {
        TapePinInfo const& pin = _pin_arr[index];
        AudioDataMultiChn::Activity const activity = pin._buf.get_activity();
        bool const signal_flag = activity == AudioDataMultiChn::Activity_NORMAL;
        bool const clear_flag = activity == AudioDataMultiChn::Activity_CLEARED && !pin._mix_flag;
        auto const transfer =
            pin._mix_flag ? BasicMixing::mix_1_1_vlrauto : BasicMixing::copy_1_1_vlrauto;
        for (int chn = 0; chn < pin._buf.get_nbr_chn(); ++chn) {
            float* const dest = port_out.pin_arr[index].chn_arr[chn] + pos;
            if (signal_flag) {
                transfer(dest, pin._buf.use_chn_ro(chn) + pos, len, lvl_beg, lvl_end);
            } else if (clear_flag) {
                BasicMixing::clear(dest, len);
            }
        }
    }
}

} // namespace ulk::ace::baplug
