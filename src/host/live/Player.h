#pragma once

#include "host/live/Deck.h"
#include "host/live/Levels.h"
#include "host/live/PassTimes.h"

#include <array>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace ulk::host::live {

// Plays a session as it renders, from a real-time callback that never waits for the disk: what is
// not in memory in time is heard as silence and counted, and time goes on. Two threads serve it:
// one reads from the disk, the other opens files and asks for their data ahead, and prepares the
// decks for jumps and loops; that of the next cue stands ready, so that a jump there sounds at
// once. A plug-in that throws ends the sound, and no more. Control side but where told; callers may
// be several threads.
class Player {
public:
    struct Loop {
        double beg; // s of the session
        double end; // behind beg
    };
    struct Settings {
        double sample_freq = 48000; // Hz
        long block_len = 256;       // frames that are made at once
        double from = 0;            // s of the session
        std::optional<Loop> loop;
        double barrier = 1;      // s that lie in memory before it begins
        double ahead = 2;        // s that are asked for ahead of what plays
        double patience = 10;    // s; then it begins with what there is
        long long cache_len = 0; // bytes; 0 for what the session asks for, within reason
    };

    // How it stands.
    struct State {
        double time = 0;            // s of the session
        double goal = 0;            // s; where a jump that is under way leads, else time
        bool playing_flag = false;  // sounds, or would if there were something to hear
        bool pause_flag = false;    // was asked for
        bool still_flag = false;    // the last block is silence, and its end no fade's
        bool loading_flag = false;  // a start or a jump waits for the disk
        bool finished_flag = false; // all is played
        int nbr_voices = 0;         // notes that sound
        Peaks peaks{};              // by channel, since this was asked; of a block at least
        int cue = -1;               // of use_cues(), the last one up to time; -1 for none
        long nbr_cells = 0;         // of the cache
        long nbr_cells_full = 0;
        long long nbr_lost = 0; // frames of clips in holes
    };
    // What came of it.
    struct Stat : PassTimes {
        long long nbr_frames = 0; // asked for by the callback, pauses and waits included
        long long nbr_blocks = 0; // the same, calls
        int max_voices = 0;
        Peaks peaks{};           // by channel
        long nbr_cells = 0;      // of the cache
        long max_cells_full = 0; // looked at some times a second
        long long nbr_late = 0;  // frames for which the next round of a loop was not ready
        int nbr_jumps = 0;       // loops included
    };

    // fact_arr: by sample. bundle and session outlive the object. Throws an Error.
    Player(Bundle& bundle, session::Session const& session,
           std::vector<engine::SampleFacts> const& fact_arr, Settings const& settings);
    ~Player(); // the callback is over

    Player(Player const&) = delete;
    Player& operator=(Player const&) = delete;

    // Starts the two threads. Without them, serve() and run_slices() do their work.
    void start();
    void serve();
    bool run_slices(); // whether there was something to be done

    // The next len frames, a buffer a channel of the session. real-time; takes the cache's lock
    // for its length
    void process(float* const* chn_arr, long len);

    void locate(double time); // s of the session, below 0 for 0
    void set_pause(bool pause_flag);
    State find_state();
    // The session's cues, by time; without any the beginnings of its clips, without names.
    std::vector<session::Session::Cue> const& use_cues() const { return _cue_arr; }
    // The time of the first one behind a time; both in s. None at the end.
    std::optional<double> find_next_cue(double time) const;
    // The time of the last one more than a second before a time, 0 for none.
    double find_prev_cue(double time) const;
    double get_len() const { return conv_time(_end); } // s
    // What ended the threads or the sound before their time, empty for nothing.
    std::string get_failure();
    // What went wrong since the last time that this was asked, and ended nothing; empty for
    // nothing.
    std::string take_notice();

    // Below: when the callback is over, and the threads with stop().

    void stop();
    Stat const& use_stat() const { return _stat; }
    // All rounds of a loop and all jumps together, by clip.
    std::vector<Deck::Loss> list_losses();

private:
    friend class PlayerProbe; // shows the inside to the tests

    // A deck with what is known of it on the control side.
    struct Slot {
        std::unique_ptr<Deck> deck;
        long long from; // frame it was made for
        long long end;  // frame where it gives way
        bool loop_flag; // to another round
    };
    using Clock = std::chrono::steady_clock;

    engine::CacheService::Size find_cache_size(engine::NotePlan const& plan);
    void find_cues();
    Slot* make_deck(long long from);
    Slot* make_wanted_deck(long long from);
    void take_wish();
    void make_jump(long long from);
    void load_jump();
    void prepare_round();
    void prepare_cue();
    Slot* find_sounding(); // may be retired meanwhile, and is there until remove_retired()
    void feed_all();
    void feed_sounding();
    void feed(Slot& slot);
    bool is_called();
    void look_at_cache();
    std::optional<double> find_time();
    void remove_retired();
    void remove(Slot* slot);
    void run_thread(std::function<void()> const& work);
    void wait_a_while();
    std::size_t count_cues(double time) const; // up to it, in s
    long conv_len(double time) const;
    double conv_time(long long frame) const;

    void break_off(char const* reason);
    void take_next(long len);
    bool change_deck();
    void play(float* const* chn_arr, long len);
    bool start_next_round(long len);
    void fade(float* const* chn_arr, long len);
    bool is_at_end() const;
    bool is_at_rest() const;
    void note_levels(float* const* chn_arr, long len);
    void clear(float* const* chn_arr, long pos, long len) const;

    Bundle& _bundle;
    session::Session const& _session;
    std::vector<engine::SampleFacts> _fact_arr;
    Settings _settings;
    long long _end = 0; // frame of the session
    std::vector<session::Session::Cue> _cue_arr;
    bool _cue_room_flag = false; // to prepare one
    bool _cue_use_flag = false;  // the user jumps to them
    std::unique_ptr<engine::CacheService> _cache;
    std::unique_ptr<engine::SampleStore> _store;
    std::vector<engine::SampleStore::Id> _id_arr;

    // The control thread's.
    std::vector<std::unique_ptr<Slot>> _slot_arr; // all there are
    Slot* _loading = nullptr;                     // waits for its data
    Clock::time_point _deadline;                  // for that
    int _loading_wish = 0;                        // which one that is
    Slot* _round = nullptr;                       // of a loop, that waits for its data
    Slot* _cue = nullptr;                         // of the next cue, or one that was it
    Clock::time_point _cue_due;                   // no other one before that
    Clock::time_point _cue_feed_due;
    std::map<std::pair<int, int>, Deck::Loss> _loss_map; // of decks that are gone, by clip

    Clock::time_point _look_due; // at the cache; the slice thread's

    // Of those who ask, under the mutex.
    std::mutex _wish_mutex;
    std::condition_variable _wish_condition;
    std::optional<long long> _wish; // frame to jump to
    long long _goal = 0;            // the last one
    int _nbr_wishes = 0;
    int _nbr_granted = 0; // or given up for later ones
    bool _stop_flag = false;
    std::string _failure;
    std::string _notice;

    // The real-time side's: for others within a pass.
    static constexpr std::size_t _max_retired = 4;
    Slot* _current = nullptr;
    Slot* _next = nullptr;
    bool _jump_flag = false; // _next comes as soon as it can, and not at the end of _current
    std::array<Slot*, _max_retired> _retired_arr{};
    std::size_t _nbr_retired = 0;
    bool _pause_flag = false;
    float _gain = 1; // of fades before jumps and pauses
    bool _finished_flag = false;
    bool _broken_flag = false;
    std::array<char, 512> _reason{}; // of that
    long long _nbr_lost = 0;         // of retired decks
    State _state;
    bool _peaks_seen_flag = false; // those of _state
    Stat _stat;

    std::thread _slice_thread;
    std::thread _control_thread;
};

} // namespace ulk::host::live
