#include "host/live/Player.h"

#include "host/Error.h"
#include "host/engine/Frames.h"
#include "ulk/sacc/SplCacheStat.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <set>

namespace ulk::host::live {

namespace {

using engine::CacheService;

constexpr long cell_len = 8192; // floats
constexpr long min_nbr_cells = 64;
constexpr long long max_cache_len = 512LL << 20; // bytes, unless the user says otherwise
constexpr int max_open_files = 256;              // beyond those that sound
constexpr int nbr_decks = 2;                     // that sound or wait for it, but for those ahead
constexpr int files_at_once = 4;                 // to open, between looks at what sounds
constexpr double cue_slack = 0.05; // s, that a cue lies behind where it plays to be the next one
constexpr double back_slack = 1;   // s, that it lies before to be the one to go back to
constexpr double round_time = 0.5; // s before its time that a round is handed over at the latest
constexpr auto serve_period = std::chrono::milliseconds(20);
constexpr auto slice_period = std::chrono::milliseconds(20); // each takes the lock once a cell
constexpr auto cue_period = std::chrono::seconds(1);         // at least, between decks of cues
constexpr auto cue_feed_period = std::chrono::milliseconds(500);
constexpr auto look_period = std::chrono::milliseconds(200);

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
    _state.peaks.fill(0);
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

// Below: the two threads.

void Player::start() {
    _slice_thread = std::thread([this] {
        run_thread([this] {
            if (!run_slices()) {
                std::this_thread::sleep_for(slice_period);
            }
        });
    });
    _control_thread = std::thread([this] {
        run_thread([this] {
            serve();
            wait_a_while();
        });
    });
}

void Player::stop() {
    {
        std::lock_guard const lock(_wish_mutex);
        _stop_flag = true;
    }
    _wish_condition.notify_all();
    for (std::thread* const thread : {&_control_thread, &_slice_thread}) {
        if (thread->joinable()) {
            thread->join();
        }
    }
}

void Player::run_thread(std::function<void()> const& work) {
    auto const is_stopped = [this] {
        std::lock_guard const lock(_wish_mutex);
        return _stop_flag;
    };
    try {
        while (!is_stopped()) {
            work();
        }
    } catch (std::exception const& e) {
        std::lock_guard const lock(_wish_mutex);
        _failure = e.what();
        _stop_flag = true;
    } catch (...) {
        std::lock_guard const lock(_wish_mutex);
        _failure = "something unknown was thrown";
        _stop_flag = true;
    }
}

void Player::wait_a_while() {
    std::unique_lock lock(_wish_mutex);
    _wish_condition.wait_for(lock, serve_period, [this] { return _wish || _stop_flag; });
}

bool Player::run_slices() {
    bool const more_flag = _cache->use_cache().do_run_slice();
    look_at_cache();
    return more_flag;
}

// Waits for slices, as whoever looks does: here, nothing else waits for that.
void Player::look_at_cache() {
    if (Clock::now() < _look_due) {
        return;
    }
    _look_due = Clock::now() + look_period;
    using sacc::SplCacheCell;
    sacc::SplCacheStat stat;
    _cache->use_cache().collect_statistics(stat);
    CacheService::Pass const pass(*_cache);
    _state.nbr_cells_full =
        stat.get_nbr_cells(SplCacheCell::Type_NORMAL, SplCacheCell::Status_FULL);
    _stat.max_cells_full = std::max(_stat.max_cells_full, _state.nbr_cells_full);
}

void Player::serve() {
    remove_retired();
    take_wish();
    prepare_round();
    prepare_cue();
    feed_all();
    load_jump();
}

Player::Slot* Player::find_sounding() {
    CacheService::Pass const pass(*_cache);
    return _current;
}

// What sounds comes first, the next cue last: on a disk with little time to spare it gets nothing.
void Player::feed_all() {
    feed_sounding();
    for (auto const& slot : _slot_arr) {
        if (slot.get() != _cue) {
            feed(*slot);
        }
    }
    Slot* const sounding = find_sounding();
    // The far end of what is asked for is on its way all the time.
    if (_cue != nullptr && Clock::now() >= _cue_feed_due &&
        (sounding == nullptr || sounding->deck->is_loaded(conv_len(_settings.ahead / 2)))) {
        feed(*_cue);
        _cue_feed_due = Clock::now() + cue_feed_period;
    }
}

void Player::feed_sounding() {
    if (Slot* const sounding = find_sounding(); sounding != nullptr) {
        sounding->deck->feed(conv_len(_settings.ahead), std::numeric_limits<int>::max());
    }
}

// Opening files may take long: what sounds does not wait for that, nor do those who want something
// else; the rest is opened later.
void Player::feed(Slot& slot) {
    while (!slot.deck->feed(conv_len(_settings.ahead), files_at_once) && !is_called()) {
        feed_sounding();
    }
}

bool Player::is_called() {
    std::lock_guard const lock(_wish_mutex);
    return _wish || _stop_flag;
}

void Player::remove_retired() {
    std::array<Slot*, _max_retired> retired_arr{};
    {
        CacheService::Pass const pass(*_cache);
        std::swap(retired_arr, _retired_arr);
        _nbr_retired = 0;
    }
    for (Slot* const slot : retired_arr) {
        remove(slot);
    }
}

void Player::remove(Slot* slot) {
    if (slot == nullptr) {
        return;
    }
    for (Deck::Loss const& loss : slot->deck->list_losses()) {
        auto const [place, new_flag] = _loss_map.try_emplace({loss.track, loss.clip}, loss);
        if (!new_flag) {
            Deck::Loss& sum = place->second;
            sum.time = std::min(sum.time, loss.time);
            sum.len += loss.len;
            sum.refused_flag |= loss.refused_flag;
        }
    }
    std::erase_if(_slot_arr, [slot](auto const& entry) { return entry.get() == slot; });
}

Player::Slot* Player::make_deck(long long from) {
    Deck::Material const material = {_bundle, _session, _fact_arr, _id_arr, *_cache, *_store};
    auto deck = std::make_unique<Deck>(material, _settings.sample_freq, _settings.block_len, from);
    Slot slot = {std::move(deck), from, std::max(_end, from), false};
    if (_settings.loop) {
        long long const loop_end = conv_len(_settings.loop->end);
        slot.loop_flag = from < loop_end;
        slot.end = slot.loop_flag ? loop_end : slot.end;
    }
    _slot_arr.push_back(std::make_unique<Slot>(std::move(slot)));
    return _slot_arr.back().get();
}

// Rather than a cue that nobody may want, where one more is too much.
Player::Slot* Player::make_wanted_deck(long long from) {
    try {
        return make_deck(from);
    } catch (Error const&) {
        if (_cue == nullptr) {
            throw;
        }
    }
    remove(std::exchange(_cue, nullptr));
    _cue_room_flag = false;
    return make_deck(from);
}

void Player::take_wish() {
    std::optional<long long> wish;
    {
        std::lock_guard const lock(_wish_mutex);
        std::swap(wish, _wish);
        _loading_wish = wish ? _nbr_wishes : _loading_wish;
    }
    if (wish) {
        remove(std::exchange(_loading, nullptr));
        make_jump(*wish);
    }
}

// One that fails is told, and what sounds goes on; where nothing sounds yet, it is the end.
void Player::make_jump(long long from) {
    _cue_use_flag |= std::any_of(_cue_arr.begin(), _cue_arr.end(), [&](auto const& cue) {
        return from > 0 && conv_len(cue.time) == from;
    });
    bool const ready_flag = _cue != nullptr && _cue->from == from;
    try {
        _loading = ready_flag ? std::exchange(_cue, nullptr) : make_wanted_deck(from);
        _deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                       std::chrono::duration<double>(_settings.patience));
    } catch (Error const& e) {
        if (_nbr_granted == 0) {
            throw;
        }
        std::lock_guard const lock(_wish_mutex);
        _notice = std::string("the jump fails: ") + e.what();
        _nbr_granted = _loading_wish;
    }
}

// A jump begins when its first sounds are in memory.
void Player::load_jump() {
    if (_loading == nullptr ||
        (!_loading->deck->is_loaded(conv_len(_settings.barrier)) && Clock::now() < _deadline)) {
        return;
    }
    Slot* replaced = nullptr;
    {
        CacheService::Pass const pass(*_cache);
        replaced = std::exchange(_next, _loading);
        _jump_flag = true;
        _finished_flag = false;
    }
    {
        std::lock_guard const lock(_wish_mutex);
        _nbr_granted = _loading_wish;
    }
    _loading = nullptr;
    remove(replaced);
}

// The next round of a loop stands ready long before it begins. It is handed over when its first
// sounds are in memory, or shortly before its time.
void Player::prepare_round() {
    long long rest = -1; // frames
    {
        CacheService::Pass const pass(*_cache);
        if (_current != nullptr && _current->loop_flag && _next == nullptr) {
            rest = _current->end - _current->deck->get_frame();
        }
    }
    if (rest < 0) {
        return;
    }
    if (_round == nullptr) {
        _round = make_wanted_deck(conv_len(_settings.loop->beg));
        feed(*_round);
    }
    if (_round->deck->is_loaded(conv_len(_settings.barrier)) || rest < conv_len(round_time)) {
        CacheService::Pass const pass(*_cache);
        _next = std::exchange(_round, nullptr);
        _jump_flag = false;
    }
}

// Not while the disk is busy for a jump.
void Player::prepare_cue() {
    auto const time = find_time();
    if (!_cue_room_flag || !_cue_use_flag || _loading != nullptr || !time) {
        return;
    }
    auto const cue = find_next_cue(*time);
    bool const ready_flag = _cue != nullptr && cue && _cue->from == conv_len(*cue);
    if (ready_flag || Clock::now() < _cue_due) {
        return;
    }
    remove(std::exchange(_cue, nullptr));
    if (cue) {
        try {
            _cue = make_deck(conv_len(*cue));
            _cue_due = Clock::now() + cue_period;
            _cue_feed_due = {};
        } catch (Error const&) {
            _cue_room_flag = false; // as where a plug-in has so many instances and no more
        }
    }
}

// Where it plays, or is about to; none before the start.
std::optional<double> Player::find_time() {
    CacheService::Pass const pass(*_cache);
    Slot const* const slot = _next != nullptr && _jump_flag ? _next : _current;
    if (slot == nullptr) {
        return std::nullopt;
    }
    return conv_time(slot->deck->get_frame());
}

std::vector<Deck::Loss> Player::list_losses() {
    _current = _next = _loading = _round = _cue = nullptr;
    while (!_slot_arr.empty()) {
        remove(_slot_arr.back().get());
    }
    std::vector<Deck::Loss> loss_arr;
    for (auto const& entry : _loss_map) {
        loss_arr.push_back(entry.second);
    }
    return loss_arr;
}

} // namespace ulk::host::live
