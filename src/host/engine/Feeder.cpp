#include "host/engine/Feeder.h"

#include <algorithm>

namespace ulk::host::engine {

Feeder::Feeder(Engine& engine, CacheService& cache, SampleStore& store,
               std::vector<SampleStore::Id> const& id_arr)
    : _engine(engine)
    , _cache(cache)
    , _store(store)
    , _id_arr(id_arr)
    , _player_arr(engine.use_players().size()) {}

// Calls fnc(note, identifier of its sample, source range) for what sounds within the next len
// frames.
template <class F>
void Feeder::walk_ranges(long len, F fnc) const {
    _engine.walk_ranges(len, [&](std::size_t index, std::size_t place, Note::Range const& range) {
        NotePlayer const& player = *_engine.use_players()[index];
        fnc(player.use_note(place), player.get_sample_id(place), range);
    });
}

long Feeder::count_cells(Note::Range const& range, int nbr_chn) const {
    if (range.end <= range.beg) {
        return 0;
    }
    long const block_len = _cache.get_size().cell_len / nbr_chn;
    return static_cast<long>((range.end - 1) / block_len - range.beg / block_len) + 1;
}

Feeder::Demand Feeder::find_demand(long len) const {
    Demand demand;
    walk_ranges(len, [&](Note const& note, long long, Note::Range const& range) {
        long const needed = count_cells(range, note.nbr_chn);
        long const ahead = count_cells(note.find_ahead(range), note.nbr_chn);
        long own = ahead; // a voice that begins
        if (note.beg < _engine.get_pos()) {
            long long const grown = range.end - range.beg + Note::voice_grain;
            own = std::min(own, count_cells({0, grown}, note.nbr_chn) + 1);
        }
        demand.needed += needed;
        demand.own += own;
        demand.ahead += ahead;
    });
    return demand;
}

long Feeder::find_span(long max_len, long block_len) {
    long const nbr_cells = _cache.get_size().get_nbr_cells();
    for (long len = max_len;; len = std::max(len / block_len / 2, 1L) * block_len) {
        Demand const demand = find_demand(len);
        long const least = std::min(demand.needed + demand.own, demand.ahead);
        if (least <= nbr_cells) {
            _ahead_flag = demand.ahead <= nbr_cells;
            _max_cells = std::max(_max_cells, least);
            return len;
        }
        if (len <= block_len) {
            return 0;
        }
    }
}

void Feeder::give_back_ended(NotePlayer const& player, PlayerState& state) {
    auto const ended =
        std::partition(state.held_arr.begin(), state.held_arr.end(), [&](std::size_t note) {
            return player.use_note(note).end >= _engine.get_pos();
        });
    for (auto note = ended; note != state.held_arr.end(); ++note) {
        _store.give_back(player.get_sample_id(*note));
    }
    state.held_arr.erase(ended, state.held_arr.end());
}

void Feeder::open_files(long len) {
    for (std::size_t index = 0; index < _player_arr.size(); ++index) {
        NotePlayer& player = *_engine.use_players()[index];
        PlayerState& state = _player_arr[index];
        give_back_ended(player, state);
        for (; state.next < player.get_nbr_notes() &&
               player.use_note(state.next).beg < _engine.get_pos() + len;
             ++state.next) {
            ++_nbr_notes;
            Note const& note = player.use_note(state.next);
            auto const id = _id_arr[static_cast<std::size_t>(note.sample)];
            if (_store.hold(id)) {
                player.set_sample_id(state.next, id);
                state.held_arr.push_back(state.next);
            } else {
                _store.give_back(id);
                _dropped_arr.push_back({note.track, note.clip, note.beg, 0});
            }
        }
    }
}

void Feeder::ask(long long id, Note::Range const& range) {
    if (range.beg < range.end && id != NotePlayer::no_id) {
        ++_nbr_prefetches;
        _store.prefetch(id, range);
    }
}

// What is needed is asked for last, so that it is the last to be given up.
void Feeder::request(long len) {
    if (_ahead_flag) {
        walk_ranges(len, [this](Note const& note, long long id, Note::Range const& range) {
            ask(id, note.find_ahead(range));
        });
    }
    walk_ranges(len,
                [this](Note const&, long long id, Note::Range const& range) { ask(id, range); });
}

void Feeder::check(long len) {
    walk_ranges(len, [&](Note const& note, long long id, Note::Range const&) {
        if (id == NotePlayer::no_id) {
            return;
        }
        long long const beg = std::max(_engine.get_pos(), note.heard_beg);
        long long const end = std::min(_engine.get_pos() + len, note.heard_end);
        _store.walk_lost(id, note, beg, end, [&](Note::Range const& lost) {
            add_hole({note.track, note.clip, lost.beg, lost.end - lost.beg});
        });
    });
}

// All holes of a clip are one.
void Feeder::add_hole(Loss const& hole) {
    auto const [place, new_flag] = _hole_map.try_emplace({hole.track, hole.clip}, _hole_arr.size());
    if (new_flag) {
        _hole_arr.push_back(hole);
    } else {
        _hole_arr[place->second].len += hole.len;
    }
}

} // namespace ulk::host::engine
