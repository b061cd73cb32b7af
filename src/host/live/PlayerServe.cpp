// The control side of the player: its two threads and the decks.

#include "host/live/Player.h"

#include "host/Error.h"
#include "ulk/sacc/SplCacheStat.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

namespace ulk::host::live {

namespace {

using engine::CacheService;

constexpr int files_at_once = 4;   // to open, between looks at what sounds
constexpr double round_time = 0.5; // s before its time that a round is handed over at the latest
constexpr auto serve_period = std::chrono::milliseconds(20);
constexpr auto slice_period = std::chrono::milliseconds(20); // each takes the lock once a cell
constexpr auto cue_period = std::chrono::seconds(1);         // at least, between decks of cues
constexpr auto cue_feed_period = std::chrono::milliseconds(500);
constexpr auto look_period = std::chrono::milliseconds(200);

} // namespace

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
