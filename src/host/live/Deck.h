#pragma once

#include "host/engine/Engine.h"
#include "host/engine/SampleStore.h"

#include <chrono>
#include <memory>
#include <utility>
#include <vector>

namespace ulk::host::live {

// A session from one of its frames on, to be played as it is rendered: in blocks of one length,
// whatever lengths are asked for. The control side makes it, feeds it ahead and takes it apart; in
// between the real-time side reads it, within passes of the cache, and counts what was not there.
class Deck {
public:
    // What all decks of a session share.
    struct Material {
        Bundle& bundle;
        session::Session const& session;
        std::vector<engine::SampleFacts> const& fact_arr;   // by sample
        std::vector<engine::SampleStore::Id> const& id_arr; // by sample
        engine::CacheService& cache;
        engine::SampleStore& store;
    };

    // A clip without its data, or without a part of it.
    struct Loss {
        int track;         // index in the session
        int clip;          // index in the track
        double time;       // s of the session, where it began
        long long len;     // frames in all
        bool refused_flag; // its file cannot be used
    };

    // from: frame of the session that is heard first, 0 or more. All outlive the object. Throws an
    // Error.
    Deck(Material const& material, double sample_freq, long block_len, long long from);
    ~Deck(); // gives back the files

    // Below: control side, outside of a pass, also while the other side reads.

    // Opens the files of what sounds up to len frames behind the next one to be heard, closes those
    // that are over, and asks for the data, in passes that are short. False when there are more
    // than max_files to open, and some are left.
    bool feed(long len, int max_files);
    // Whether all of that is in memory.
    bool is_loaded(long len);
    std::vector<Loss> list_losses() const; // when it is read no more

    // Below: real-time, within a pass.

    // Makes one block of what lies before the first frame to be heard; true when all is done.
    bool pre_roll();
    bool is_rolled() const { return _skip == 0; }
    long long get_frame() const { return _frame; } // of the session, that is read next
    // The next len frames, a buffer a channel of the session. After pre_roll().
    void read(float* const* chn_arr, long len);
    int get_nbr_sounding() const { return _engine.get_nbr_sounding(); }
    long long get_nbr_lost() const { return _nbr_lost; } // frames in holes

private:
    using Note = engine::Note;

    struct Lack {
        long long beg = -1; // engine frame, -1 for none
        long long len = 0;
    };
    struct PlayerState {
        std::size_t next = 0; // the first note not yet opened
        std::vector<std::size_t> held_arr;
        std::vector<bool> refused_arr; // by note
        std::vector<Lack> lack_arr;    // by note; the real-time side's
    };
    struct Demand {
        engine::SampleStore::Id id;
        Note::Range range;
    };
    struct NotePlace {
        std::size_t player;
        std::size_t note;
    };
    // Frames that a note lacks.
    struct Gap {
        NotePlace place;
        Note::Range frames; // of the engine
    };
    struct Opened {
        std::size_t player;
        std::size_t note;
        engine::SampleStore::Id id;
    };

    void give_back_ended(long long pos);
    bool has_unopened(std::size_t index, long long end) const; // notes of a player
    bool are_files_open(long long end) const;
    bool open_files(long long end, int max_files);
    Note::Range find_span(long len) const;
    void list_demands(Note::Range const& span);
    Note::Range find_news(Note::Range const& span);
    template <class F>
    void walk_demands(F fnc);
    void make_block();
    void find_gaps();
    void find_silent_notes();
    void count_lacks(long len);

    Material _material;
    double _sample_freq;
    long _block_len;
    long long _first; // frame of the session that the engine begins with
    long long _frame;
    long long _skip;      // frames that are still to be made unheard
    long long _heard_beg; // frame of the engine, behind all of them
    engine::NotePlan _plan;
    engine::Engine _engine;
    engine::WorkerPool _pool{1};
    std::vector<PlayerState> _player_arr;
    long long _fed_end = 0;                           // up to where feed() has asked for all
    std::chrono::steady_clock::time_point _whole_due; // all is asked for again
    std::vector<Opened> _opened_arr;                  // of one feed()
    std::vector<Demand> _demand_arr;                  // of one feed() or is_loaded()
    std::vector<NotePlace> _silent_arr;               // notes that had no file when they began
    std::vector<Gap> _gap_arr;                        // of the engine's last block
    long _block_pos;                                  // frames read of the engine's last block
    long long _nbr_lost = 0;
};

} // namespace ulk::host::live
