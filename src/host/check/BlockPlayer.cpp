#include "host/check/BlockPlayer.h"

#include "host/ContractError.h"
#include "ulk/ace/Constants.h"

#include <bit>
#include <cmath>

namespace ulk::host::check {

namespace {

using Dsp = kryn::PluginDsp;

// What clearing leaves behind, at the most.
constexpr float silence = 1e-12f;

std::string describe_pin(char const* dir, long pin) {
    return std::string(dir) + " " + std::to_string(pin);
}

} // namespace

BlockPlayer::BlockPlayer(Plugin& plugin, PinConf const& conf, long max_len, Dice& dice,
                         Findings& findings)
    : _plugin(plugin)
    , _dice(dice)
    , _findings(findings)
    , _in(conf.in, max_len)
    , _out(conf.out, max_len) {}

void BlockPlayer::play(long nbr_spl, EventMaker& events) {
    _nbr_spl = nbr_spl;
    fill_inputs();
    fill_outputs();
    if (!run(nbr_spl, events.make(nbr_spl))) {
        check_states();
        return;
    }
    if (!events.is_same()) {
        add(TestId_PROCESS_INPUTS, "the events have changed");
    }
    for (long pin = 0; pin < _in.get_nbr_pins(); ++pin) {
        check_pin(_in, pin, "input", _in.get_max_len());
        check_input(pin);
    }
    for (long pin = 0; pin < _out.get_nbr_pins(); ++pin) {
        check_pin(_out, pin, "output", nbr_spl);
        check_output(pin);
        add_to_hash(pin);
    }
    ++_block;
}

void BlockPlayer::fill_inputs() {
    for (long pin = 0; pin < _in.get_nbr_pins(); ++pin) {
        long const state = _dice.has_luck(70) ? Dsp::State_SIGNAL : _dice.roll(1, 2);
        _in.set_state(pin, state);
        _in.fill(pin, state == Dsp::State_CLEARED ? 0 : PinArea::get_unwritten());
        float const peak = _dice.has_luck(10) ? 0.0f : _dice.has_luck(80) ? 1.0f : 0.001f;
        for (long chn = 0; state == Dsp::State_SIGNAL && chn < _in.get_nbr_chn(pin); ++chn) {
            for (long i = 0; i < _nbr_spl; ++i) {
                auto const val = static_cast<float>(_dice.roll(-32768, 32767));
                _in.use_chn(pin, chn)[i] = val * (peak / 32768);
            }
        }
    }
    _in.keep();
}

void BlockPlayer::fill_outputs() {
    for (long pin = 0; pin < _out.get_nbr_pins(); ++pin) {
        _out.set_state(pin, _dice.has_luck(80) ? Dsp::State_SIGNAL : _dice.roll(1, 2));
        _out.fill(pin, PinArea::get_unwritten());
    }
    _out.keep();
}

// False when the plug-in broke the contract in a way that shows in the call.
bool BlockPlayer::run(long nbr_spl, Dsp::EventList const& evt_list) {
    Dsp::CmdPlug::Process rec = {_in.use_port(), _out.use_port(), evt_list, nbr_spl};
    try {
        _plugin.process(rec);
        return true;
    } catch (ContractError const& e) {
        if (e.get_side() == ContractError::Side_HOST) {
            throw;
        }
        return false; // the tap tells of codes and exceptions
    }
}

void BlockPlayer::check_states() {
    for (long pin = 0; pin < _out.get_nbr_pins(); ++pin) {
        long const state = _out.get_state(pin);
        if (state < Dsp::State_SIGNAL || state > Dsp::State_DIRTY) {
            add(TestId_PROCESS_STATES,
                "output " + std::to_string(pin) + " was left in state " + std::to_string(state));
        }
    }
}

// nbr_spl: how much of the buffers is not looked at here.
void BlockPlayer::check_pin(PinArea const& area, long pin, char const* dir, long nbr_spl) {
    if (!area.are_addresses_same(pin)) {
        add(TestId_RECORDS, "the buffer addresses of " + describe_pin(dir, pin) + " have changed");
    }
    if (!area.are_guards_intact(pin)) {
        add(TestId_PROCESS_BOUNDS,
            "something wrote before or behind the buffers of " + describe_pin(dir, pin));
    }
    if (!area.is_same(pin, nbr_spl, area.get_max_len())) {
        add(TestId_PROCESS_BOUNDS, "something wrote behind the block in " + describe_pin(dir, pin));
    }
}

void BlockPlayer::check_input(long pin) {
    bool const same_flag = _in.is_same(pin, 0, _in.get_max_len());
    bool const state_flag = _in.get_state(pin) == _in.get_state_before(pin);
    // Who wants to read a pin whose contents are undefined clears it first.
    bool const clearing_flag = _in.get_state_before(pin) == Dsp::State_DIRTY &&
                               (state_flag || _in.get_state(pin) == Dsp::State_CLEARED) &&
                               is_cleared(_in, pin);
    if ((!same_flag || !state_flag) && !clearing_flag) {
        add(TestId_PROCESS_INPUTS, "input " + std::to_string(pin) + " has changed");
    }
}

void BlockPlayer::check_output(long pin) {
    if (_out.get_state_before(pin) != Dsp::State_SIGNAL) {
        check_unwanted(pin);
        return;
    }
    bool const untouched_flag = _out.is_same(pin, 0, _nbr_spl);
    switch (_out.get_state(pin)) {
    case Dsp::State_SIGNAL:
        // The end point of a graph leaves its buffers to the host.
        if (_plugin.get_id() != ace::Constants::PLUGIN_ID_AUDIO_INPUT) {
            for (long chn = 0; chn < _out.get_nbr_chn(pin); ++chn) {
                check_signal(pin, chn);
            }
        }
        break;
    case Dsp::State_CLEARED:
        if (!is_cleared(_out, pin)) {
            add(TestId_PROCESS_STATES,
                "output " + std::to_string(pin) + " is not clear, as its state says");
        }
        break;
    case Dsp::State_DIRTY:
        if (!untouched_flag) {
            add(TestId_PROCESS_STATES,
                "output " + std::to_string(pin) + " was written to, though its state says silent");
        }
        break;
    default:
        break; // told by check_states()
    }
}

// It is left alone, or silenced.
void BlockPlayer::check_unwanted(long pin) {
    bool const untouched_flag = _out.is_same(pin, 0, _nbr_spl);
    long const state = _out.get_state(pin);
    bool const end_point_flag = _plugin.get_id() == ace::Constants::PLUGIN_ID_AUDIO_INPUT &&
                                state == Dsp::State_SIGNAL && untouched_flag;
    bool const alone_flag = untouched_flag && state != Dsp::State_SIGNAL;
    bool const silenced_flag = state == Dsp::State_CLEARED && is_cleared(_out, pin);
    if (!alone_flag && !silenced_flag && !end_point_flag) {
        add(TestId_PROCESS_UNWANTED, "output " + std::to_string(pin) + " came in state " +
                                         std::to_string(_out.get_state_before(pin)) +
                                         " and left in " + std::to_string(state) +
                                         (untouched_flag ? "" : ", written to"));
    }
}

void BlockPlayer::check_signal(long pin, long chn) {
    float const* const data = _out.use_chn(pin, chn);
    for (long i = 0; i < _nbr_spl; ++i) {
        float const val = data[i];
        if (val != 0 && !std::isnormal(val)) {
            bool const unwritten_flag = PinArea::is_unwritten(val);
            add(unwritten_flag ? TestId_PROCESS_STATES : TestId_PROCESS_SIGNAL,
                "output " + std::to_string(pin) + ", channel " + std::to_string(chn) + ", frame " +
                    std::to_string(i) +
                    (unwritten_flag    ? " was not written, though the state says signal"
                     : std::isnan(val) ? " is no number"
                     : std::isinf(val) ? " is infinite"
                                       : " is denormal"));
            return;
        }
    }
}

bool BlockPlayer::is_cleared(PinArea const& area, long pin) const {
    for (long chn = 0; chn < area.get_nbr_chn(pin); ++chn) {
        for (long i = 0; i < _nbr_spl; ++i) {
            if (!(std::fabs(area.use_chn(pin, chn)[i]) <= silence)) {
                return false;
            }
        }
    }
    return true;
}

void BlockPlayer::add_to_hash(long pin) {
    auto const add_word = [this](std::uint64_t word) { _hash = (_hash ^ word) * 0x100000001B3; };
    add_word(static_cast<std::uint64_t>(_out.get_state(pin)));
    if (_out.get_state(pin) != Dsp::State_SIGNAL) {
        return;
    }
    for (long chn = 0; chn < _out.get_nbr_chn(pin); ++chn) {
        for (long i = 0; i < _nbr_spl; ++i) {
            add_word(std::bit_cast<std::uint32_t>(_out.use_chn(pin, chn)[i]));
        }
    }
}

void BlockPlayer::add(TestId id, std::string const& txt) {
    _findings.add(id, _plugin.get_id() + ": in block " + std::to_string(_block) + ", of " +
                          std::to_string(_nbr_spl) + " frames, " + txt);
}

} // namespace ulk::host::check
