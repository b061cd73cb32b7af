#pragma once

#include "host/engine/CacheService.h"
#include "host/engine/Engine.h"
#include "host/engine/SampleStore.h"

#include <map>
#include <utility>
#include <vector>

namespace ulk::host::engine {

// Sees to it that what the notes of an engine play lies in the cache before they play it: opens
// their files, asks for their data and tells what never came.
class Feeder {
public:
    // A note without its data, or without a part of it.
    struct Loss {
        int track;     // index in the session
        int clip;      // index in the track
        long long beg; // engine frame
        long long len; // frames in all; 0 for a note that did not play
    };

    // id_arr: the samples of the session by their identifiers. All outlive the object.
    Feeder(Engine& engine, CacheService& cache, SampleStore& store,
           std::vector<SampleStore::Id> const& id_arr);

    // The frames behind the engine's position for which there are cells: max_len, or half of it so
    // often as it takes, but whole blocks. 0 when there are not enough for one block.
    long find_span(long max_len, long block_len);
    // Control side, outside of a pass: lets go of the files of notes that are over, and opens those
    // of the notes that begin within the next len frames. Notes whose file fails are dropped.
    void open_files(long len);
    // Within a pass: asks for all that sounds within the next len frames, and for what the voices
    // will ask for themselves as far as there is room.
    void request(long len);
    // Within a pass, when the slices are done: notes down what is still missing.
    void check(long len);

    std::vector<Loss> const& use_dropped() const { return _dropped_arr; }
    std::vector<Loss> const& use_holes() const { return _hole_arr; }
    long long get_nbr_notes() const { return _nbr_notes; } // begun or dropped
    long long get_nbr_prefetches() const { return _nbr_prefetches; }
    long get_max_cells() const { return _max_cells; } // that were needed at once

private:
    struct PlayerState {
        std::size_t next = 0; // the first note not yet opened
        std::vector<std::size_t> held_arr;
    };
    // Cells of a span.
    struct Demand {
        long needed = 0; // to play it
        long own = 0;    // that voices may ask for on the way
        long ahead = 0;  // of all that is played or asked for
    };

    template <class F>
    void walk_ranges(long len, F fnc) const;
    Demand find_demand(long len) const;
    long count_cells(Note::Range const& range, int nbr_chn) const;
    void ask(long long id, Note::Range const& range);
    void add_hole(Loss const& hole);
    void give_back_ended(NotePlayer const& player, PlayerState& state);

    Engine& _engine;
    CacheService& _cache;
    SampleStore& _store;
    std::vector<SampleStore::Id> const& _id_arr;
    std::vector<PlayerState> _player_arr;
    std::vector<Loss> _dropped_arr;
    std::vector<Loss> _hole_arr;
    std::map<std::pair<int, int>, std::size_t> _hole_map; // place in the list by track and clip
    bool _ahead_flag = true; // there is room for all that voices ask for
    long _max_cells = 0;
    long long _nbr_notes = 0;
    long long _nbr_prefetches = 0;
};

} // namespace ulk::host::engine
