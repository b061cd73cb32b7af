#include "soak/SoundChecker.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace soak {

namespace {

constexpr double tolerance = 4e-6; // of a value: gains in dB, in single precision
constexpr double floor_val = 2e-7; // what rounding leaves of a frame that is not there

long long conv_frames(double time) {
    return std::llround(time * Material::freq);
}

} // namespace

SoundChecker::SoundChecker(Score const& score, Player::Settings const& settings, Verdict& verdict)
    : _score(score)
    , _verdict(verdict)
    , _loop_beg(settings.loop ? conv_frames(settings.loop->beg) : -1)
    , _fade_step(1.f / (0.005f * static_cast<float>(Material::freq))) {}

void SoundChecker::check(View const& before, View const& after, float const* const* chn_arr,
                         long len) {
    _part_arr.clear();
    if (after.deck != nullptr && before.deck == after.deck) {
        check_same_deck(before, after, len);
    } else if (after.deck != nullptr) {
        check_new_deck(before, after, len);
    }
    long pos = 0;
    for (Part const& part : _part_arr) {
        check_part(part, chn_arr);
        pos = part.pos + part.len;
    }
    if (!is_silent(chn_arr, pos, len)) {
        fail("a sound where nothing plays", before, after, len);
    }
}

// All of the block, nothing in a pause, or what is left.
void SoundChecker::check_same_deck(View const& before, View const& after, long len) {
    long long const moved = after.frame - before.frame;
    bool const whole_flag = moved == len;
    bool const rest_flag = moved == 0 && before.gain == 0;
    bool const end_flag = moved >= 0 && moved < len && after.frame == after.end;
    if (!whole_flag && !rest_flag && !end_flag) {
        fail("time is not kept", before, after, len);
    }
    int const direction = (after.gain > before.gain) - (after.gain < before.gain);
    _part_arr.push_back({before.frame, static_cast<long>(moved), 0, before.gain, direction});
}

// A round of a loop follows on the frame. A jump begins with a block, at full level, or in a pause,
// where nothing is read.
void SoundChecker::check_new_deck(View const& before, View const& after, long len) {
    long long const rest = before.end - before.frame;
    if (before.deck != nullptr && _loop_beg >= 0 && rest >= 0 && rest < len &&
        after.frame == _loop_beg + len - rest) {
        auto const old_len = static_cast<long>(rest);
        int const direction = (after.gain > before.gain) - (after.gain < before.gain);
        _part_arr.push_back({before.frame, old_len, 0, before.gain, direction});
        float const gain = fade(before.gain, direction, old_len);
        _part_arr.push_back({_loop_beg, len - old_len, old_len, gain, direction});
        return;
    }
    long const new_len = after.gain == 0 ? 0 : len;
    _part_arr.push_back({after.frame - new_len, new_len, 0, 1, 0});
    if (after.frame < new_len || (after.gain != 0 && after.gain != 1)) {
        fail("a jump went wrong", before, after, len);
    }
}

// What a fade comes to in len frames.
float SoundChecker::fade(float gain, int direction, long len) const {
    for (long pos = 0; pos < len; ++pos) {
        gain = std::clamp(gain + static_cast<float>(direction) * _fade_step, 0.f, 1.f);
    }
    return gain;
}

void SoundChecker::check_part(Part const& part, float const* const* chn_arr) {
    for (int chn = 0; chn < _score.get_nbr_chn(); ++chn) {
        float gain = part.gain;
        for (long pos = 0; pos < part.len; ++pos) {
            gain = fade(gain, part.direction, 1);
            check_frame(chn, part.frame + pos, gain, chn_arr[chn][part.pos + pos]);
        }
    }
}

void SoundChecker::check_frame(int chn, long long frame, float gain, float val) {
    auto const wish = _score.find(chn, frame);
    double const size = std::fabs(static_cast<double>(val));
    double const level = static_cast<double>(gain);
    bool good_flag = false;
    if (wish.event == nullptr) {
        good_flag = size <= floor_val;
    } else {
        Count& count = _count_map[{wish.event->track, wish.event->clip}];
        double const full = wish.val * level;
        bool const silent_flag = size <= floor_val * level;
        bool const right_flag = std::fabs(static_cast<double>(val) - full) <= full * tolerance;
        bool const fade_flag = wish.fade_flag && val > 0 && static_cast<double>(val) < full;
        good_flag = silent_flag || right_flag || fade_flag;
        count.faded += gain == 0;
        count.lost += silent_flag && gain > 0;
        _nbr_right += !silent_flag;
        _nbr_notes += frame == wish.event->at;
    }
    if (!good_flag) {
        char text[200];
        std::snprintf(text, sizeof(text),
                      "frame %lld of channel %d is %.9g and should be %.9g (fade %.9g, %lld frames "
                      "behind the beginning of its clip)",
                      frame, chn, static_cast<double>(val), wish.val * level, level,
                      wish.event != nullptr ? frame - wish.event->at : -1);
        _verdict.fail(text);
    }
}

bool SoundChecker::is_silent(float const* const* chn_arr, long beg, long end) const {
    bool silent_flag = true;
    for (int chn = 0; chn < _score.get_nbr_chn(); ++chn) {
        silent_flag = silent_flag && std::all_of(chn_arr[chn] + beg, chn_arr[chn] + end,
                                                 [](float val) { return val == 0; });
    }
    return silent_flag;
}

void SoundChecker::fail(std::string const& text, View const& before, View const& after, long len) {
    char place[200];
    std::snprintf(place, sizeof(place),
                  ": block of %ld frames, from %lld (end %lld, gain %g) to %lld (end %lld, gain "
                  "%g), %s deck",
                  len, before.frame, before.end, static_cast<double>(before.gain), after.frame,
                  after.end, static_cast<double>(after.gain),
                  before.deck == after.deck ? "the same" : "another");
    _verdict.fail(text + place);
}

void SoundChecker::compare(std::vector<ulk::host::live::Deck::Loss> const& loss_arr) {
    std::map<std::pair<int, int>, long long> told_map;
    for (auto const& loss : loss_arr) {
        told_map[{loss.track, loss.clip}] += loss.len;
        _nbr_told += loss.len;
        _nbr_refused += loss.refused_flag;
        _count_map[{loss.track, loss.clip}];
    }
    for (auto const& [place, count] : _count_map) {
        long long const told = told_map[place];
        if (told < count.lost || told > count.lost + count.faded) {
            char text[200];
            std::snprintf(
                text, sizeof(text),
                "clip %d of track %d lost %lld frames, but %lld are told (%lld were faded "
                "out)",
                place.second, place.first, count.lost, told, count.faded);
            _verdict.fail(text);
        }
    }
}

void SoundChecker::add_to(Tally& tally) const {
    for (auto const& entry : _count_map) {
        tally.nbr_lost += entry.second.lost;
    }
    tally.nbr_right += _nbr_right;
    tally.nbr_notes += _nbr_notes;
    tally.nbr_told += _nbr_told;
    tally.nbr_refused += _nbr_refused;
}

} // namespace soak
