#include "host/live/Player.h"

#include "host/engine/Frames.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace ulk::host::live {

namespace {

using engine::CacheService;

constexpr long cell_len = 8192; // floats
constexpr long min_nbr_cells = 64;
constexpr long long max_cache_len = 512LL << 20; // bytes, unless the user says otherwise
constexpr int max_open_files = 256;              // beyond those that sound
constexpr int nbr_decks = 2;                     // that sound or wait for it, but for those ahead
constexpr double cue_slack = 0.05; // s, that a cue lies behind where it plays to be the next one
constexpr double back_slack = 1;   // s, that it lies before to be the one to go back to

} // namespace

Player::Player(Bundle& bundle, session::Session const& session,
               std::vector<engine::SampleFacts> const& fact_arr, Settings const& settings)
    : _bundle(bundle)
    , _session(session)
    , _fact_arr(fact_arr)
    , _settings(settings) {
    _settings.ahead = std::max(_settings.ahead, _settings.barrier);
    engine::NotePlan const plan(_session, _fact_arr,
                                {_settings.sample_freq, _settings.block_len, 0});
    _end = plan.get_end() + conv_len(_session.tail);
    find_cues();
    _cache = std::make_unique<CacheService>(find_cache_size(plan));
    _state.nbr_cells = _stat.nbr_cells = _cache->get_size().get_nbr_cells();
    _store = std::make_unique<engine::SampleStore>(*_cache, max_open_files);
    for (std::size_t sample = 0; sample < _fact_arr.size(); ++sample) {
        _id_arr.push_back(_store->add(_session.sample_arr[sample].path, _fact_arr[sample]));
    }
    locate(settings.from);
}

Player::~Player() {
    stop();
}

long Player::conv_len(double time) const {
    return static_cast<long>(engine::conv_to_frames(time, _settings.sample_freq));
}

double Player::conv_time(long long frame) const {
    return static_cast<double>(frame) / _settings.sample_freq;
}

// A round of a loop and a cue are prepared ahead, the latter if there is room for it.
CacheService::Size Player::find_cache_size(engine::NotePlan const& plan) {
    long const ahead = std::max(conv_len(_settings.ahead), _settings.block_len) +
                       conv_len(engine::NotePlan::pre_roll_time);
    long const nbr_wished =
        (nbr_decks + (_settings.loop ? 2 : 1)) * plan.find_nbr_cells(cell_len, ahead);
    long long const most = _settings.cache_len > 0 ? _settings.cache_len : max_cache_len;
    long nbr_cells = static_cast<long>(most / 4 / cell_len);
    _cue_room_flag = nbr_wished <= nbr_cells;
    if (_settings.cache_len == 0) {
        nbr_cells = std::min(nbr_cells, nbr_wished);
    }
    return {std::max(nbr_cells, min_nbr_cells) * cell_len, 0, cell_len};
}

void Player::find_cues() {
    _cue_arr = _session.cue_arr;
    _cue_use_flag = !_cue_arr.empty();
    if (_cue_use_flag) {
        return;
    }
    std::set<double> time_set;
    for (session::Session::Track const& track : _session.track_arr) {
        for (session::Session::Clip const& clip : track.clips) {
            time_set.insert(std::max(clip.at, 0.0));
        }
    }
    for (double const time : time_set) {
        _cue_arr.push_back({"", time});
    }
}

std::size_t Player::count_cues(double time) const {
    auto const cue =
        std::upper_bound(_cue_arr.begin(), _cue_arr.end(), time,
                         [](double val, auto const& entry) { return val < entry.time; });
    return static_cast<std::size_t>(cue - _cue_arr.begin());
}

std::optional<double> Player::find_next_cue(double time) const {
    std::size_t const index = count_cues(time + cue_slack);
    return index < _cue_arr.size() ? std::optional(_cue_arr[index].time) : std::nullopt;
}

double Player::find_prev_cue(double time) const {
    std::size_t const index = count_cues(time - back_slack);
    return index > 0 ? _cue_arr[index - 1].time : 0;
}

// Below: who asks.

void Player::locate(double time) {
    {
        std::lock_guard const lock(_wish_mutex);
        _wish = _goal = std::max<long long>(conv_len(time), 0);
        ++_nbr_wishes;
    }
    _wish_condition.notify_all();
}

void Player::set_pause(bool pause_flag) {
    CacheService::Pass const pass(*_cache);
    _pause_flag = pause_flag;
}

Player::State Player::find_state() {
    bool loading_flag = false;
    long long goal = 0;
    {
        std::lock_guard const lock(_wish_mutex);
        loading_flag = _nbr_granted < _nbr_wishes;
        goal = _goal;
    }
    CacheService::Pass const pass(*_cache);
    State state = _state;
    _peaks_seen_flag = true;
    state.playing_flag = _current != nullptr && !_pause_flag && !_finished_flag;
    state.pause_flag = _pause_flag;
    state.loading_flag = loading_flag;
    state.finished_flag = _finished_flag && !loading_flag;
    state.nbr_lost = _nbr_lost;
    if (_current != nullptr) {
        state.time = conv_time(_current->deck->get_frame());
        state.nbr_lost += _current->deck->get_nbr_lost();
    }
    state.goal = loading_flag                     ? conv_time(goal)
                 : _next != nullptr && _jump_flag ? conv_time(_next->from)
                                                  : state.time;
    state.cue = static_cast<int>(count_cues(state.time)) - 1;
    return state;
}

std::string Player::take_notice() {
    std::lock_guard const lock(_wish_mutex);
    return std::exchange(_notice, {});
}

std::string Player::get_failure() {
    {
        std::lock_guard const lock(_wish_mutex);
        if (!_failure.empty()) {
            return _failure;
        }
    }
    CacheService::Pass const pass(*_cache);
    return _reason.data();
}

} // namespace ulk::host::live
