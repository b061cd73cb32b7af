// The real-time side of the player.

#include "host/live/Player.h"
#include "host/live/TimedPass.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>

namespace ulk::host::live {

namespace {

constexpr float fade_time = 0.005f; // s, before a jump and around a pause

} // namespace

void Player::process(float* const* chn_arr, long len) {
    TimedPass const pass(*_cache, _stat, static_cast<double>(len) / _settings.sample_freq);
    _state.still_flag = is_at_rest();
    try {
        take_next(len);
        play(chn_arr, len);
    } catch (std::exception const& e) {
        break_off(e.what());
        clear(chn_arr, 0, len);
    } catch (...) {
        break_off("something unknown was thrown");
        clear(chn_arr, 0, len);
    }
    note_levels(chn_arr, len);
    _stat.nbr_frames += len;
    ++_stat.nbr_blocks;
}

// What threw may be left in any state, and is not called again.
void Player::break_off(char const* reason) {
    _broken_flag = true;
    std::strncpy(_reason.data(), reason, _reason.size() - 1);
}

// What lies before the first frame of the next deck is made on the side, about as fast as the sound
// goes on. A jump waits for the fade of what it leaves.
void Player::take_next(long len) {
    if (_next == nullptr || _broken_flag) {
        return;
    }
    if (!_next->deck->is_rolled()) {
        for (long done = 0; done < len && !_next->deck->pre_roll(); done += _settings.block_len) {
        }
        return;
    }
    if (_jump_flag && (_current == nullptr || _gain == 0 || is_at_end())) {
        change_deck();
    }
}

bool Player::is_at_rest() const {
    return _current == nullptr || (_pause_flag && _gain == 0) || _finished_flag || _broken_flag;
}

bool Player::is_at_end() const {
    return _current->end <= _current->deck->get_frame();
}

// False while the control side has to clear up first.
bool Player::change_deck() {
    if (_nbr_retired == _max_retired) {
        return false;
    }
    if (_current != nullptr) {
        _nbr_lost += _current->deck->get_nbr_lost();
        _retired_arr[_nbr_retired++] = _current;
        ++_stat.nbr_jumps;
    }
    _current = std::exchange(_next, nullptr);
    _finished_flag = false;
    if (std::exchange(_jump_flag, false)) {
        _gain = _pause_flag ? 0.f : 1.f; // a fade goes on behind the round of a loop
    }
    return true;
}

void Player::play(float* const* chn_arr, long len) {
    for (long done = 0; done < len;) {
        if (is_at_rest() || (is_at_end() && !start_next_round(len - done))) {
            clear(chn_arr, done, len - done);
            return;
        }
        long long const rest = _current->end - _current->deck->get_frame();
        long const part = static_cast<long>(std::min<long long>(len - done, rest));
        float* part_arr[max_nbr_chn];
        for (int chn = 0; chn < _session.nbr_chn; ++chn) {
            part_arr[chn] = chn_arr[chn] + done;
        }
        _current->deck->read(part_arr, part);
        fade(part_arr, part);
        done += part;
    }
}

// False when there is none: at the end, or since it is late.
bool Player::start_next_round(long len) {
    if (!_current->loop_flag) {
        _finished_flag = _next == nullptr || !_jump_flag;
        return false;
    }
    bool const ready_flag = _next != nullptr && _next->deck->is_rolled() && !_jump_flag;
    if (ready_flag && change_deck()) {
        return true;
    }
    _stat.nbr_late += _jump_flag ? 0 : len; // the silence before a jump is asked for
    return false;
}

// Towards silence before a jump or in a pause, else towards full level, where it changes nothing.
void Player::fade(float* const* chn_arr, long len) {
    bool const down_flag =
        _pause_flag || (_next != nullptr && _jump_flag && _next->deck->is_rolled());
    if (_gain == 1 && !down_flag) {
        return;
    }
    float const step =
        (down_flag ? -1.f : 1.f) / (fade_time * static_cast<float>(_settings.sample_freq));
    for (long pos = 0; pos < len; ++pos) {
        _gain = std::clamp(_gain + step, 0.f, 1.f);
        for (int chn = 0; chn < _session.nbr_chn; ++chn) {
            chn_arr[chn][pos] *= _gain;
        }
    }
}

void Player::note_levels(float* const* chn_arr, long len) {
    if (std::exchange(_peaks_seen_flag, false)) {
        _state.peaks.fill(0);
    }
    Levels::add(_state.peaks, chn_arr, _session.nbr_chn, len);
    Levels::add(_stat.peaks, _state.peaks);
    _state.nbr_voices = _current != nullptr ? _current->deck->get_nbr_sounding() : 0;
    _stat.max_voices = std::max(_stat.max_voices, _state.nbr_voices);
}

void Player::clear(float* const* chn_arr, long pos, long len) const {
    for (int chn = 0; chn < _session.nbr_chn; ++chn) {
        std::fill_n(chn_arr[chn] + pos, len, 0.f);
    }
}

} // namespace ulk::host::live
