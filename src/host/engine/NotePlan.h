#pragma once

#include "host/engine/Note.h"
#include "host/session/SampleCheck.h"
#include "host/session/Session.h"

#include <vector>

namespace ulk::host::engine {

// What a sample file holds; one without length cannot be used.
using SampleFacts = session::SampleCheck::Info;

// The clips of a session as notes, spread over players so that no note is lost.
class NotePlan {
public:
    // That a player gets at once: fewer than the 64 voices that it has, so that threads can share
    // the players of a busy track.
    static constexpr int nbr_voices = 16;
    // The sample reader sounds a frame late, for any note: frame n of the session is made as the
    // engine's frame n - first + lead.
    static constexpr long long lead = 1;
    // How long an engine runs unheard before the frame from which on it is wanted: hides the fades
    // of notes that begin on their way.
    static constexpr double pre_roll_time = 0.012; // s

    struct Settings {
        double sample_freq = 48000; // Hz
        long block_len = 1024;      // frames; voices end with their block
        long long first = 0;        // frame of the session that the engine begins with, 0 or more
    };
    using Players = std::vector<std::vector<Note>>; // by player; notes by time

    // fact_arr: by sample. Clips of unusable samples, and those that are over before the first
    // frame, are left out.
    NotePlan(session::Session const& session, std::vector<SampleFacts> const& fact_arr,
             Settings const& settings);

    Players const& use_players(int track) const {
        return _player_arr[static_cast<std::size_t>(track)];
    }
    // Stereo samples of a mono track go to a second pin, of two channels.
    bool has_stereo_pin(int track) const { return _stereo_arr[static_cast<std::size_t>(track)]; }
    // Frame of the session at which the last sound ends.
    long long get_end() const { return _end; }
    // Cells of cell_len floats that keep, at any time, all that sounds within a span of len frames
    // and all that the voices ask for ahead of it.
    long find_nbr_cells(long cell_len, long len) const;

private:
    using Session = session::Session;

    bool make_note(Note& note, Session::Clip const& clip, SampleFacts const& facts) const;
    long long get_fade_len() const; // frames behind a Note Off
    void spread(std::vector<Note>&& note_arr, Players& player_arr) const;

    Settings _settings;
    std::vector<Players> _player_arr; // by track
    std::vector<bool> _stereo_arr;    // by track
    long long _end = 0;
};

} // namespace ulk::host::engine
