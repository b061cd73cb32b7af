#pragma once

#include "host/Plugin.h"
#include "host/engine/GainCurve.h"
#include "host/engine/Note.h"
#include "host/session/Session.h"

#include <vector>

namespace ulk::host::engine {

// Plays the notes of one sample player: turns them, block by block, into the events that start
// them, move their volume and pan, and release them. Blocks follow each other without a gap.
class NotePlayer {
public:
    using Dsp = kryn::PluginDsp;

    // note_arr: by time, no more than the voices at once; clips: those that the notes name. Both,
    // and the plug-in, outlive the object. Note ids are places in note_arr.
    NotePlayer(std::vector<Note> const& note_arr, session::Session::Track const& track,
               Plugin& plugin, double sample_freq);

    // The sample of a note by the identifier that the host knows it by; none for notes not to be
    // played. To be told before the block in which the note begins.
    void set_sample_id(std::size_t note, long long id) { _id_arr[note] = id; }

    // The events of the next block of len frames; good until the next call. real-time as long as
    // volumes move at an ordinary pace: the list grows to its largest size once
    Dsp::EventList find_events(long len);
    // Makes room for all events of blocks of max_len frames, so that find_events() is real-time.
    void reserve_lists(long max_len);
    // Nothing sounds, nothing is to be done in the block that find_events() was for.
    bool is_idle() const { return _idle_flag; }
    long long get_pos() const { return _pos; } // of the next block
    int get_nbr_sounding() const { return static_cast<int>(_live_arr.size()); }
    // Notes that sound at get_pos() or begin before frame end: calls fnc(place in the list).
    template <class F>
    void walk_sounding(long long end, F fnc) const {
        for (Live const& live : _live_arr) {
            fnc(live.note);
        }
        if (_next_beg >= end) {
            return;
        }
        for (std::size_t note = _next; note < _note_arr.size() && _note_arr[note].beg < end;
             ++note) {
            fnc(note);
        }
    }
    std::size_t get_nbr_notes() const { return _note_arr.size(); }
    Note const& use_note(std::size_t note) const { return _note_arr[note]; }
    long long get_sample_id(std::size_t note) const { return _id_arr[note]; }

    static constexpr long long no_id = 0;

private:
    // What a voice was told last of a value that moves.
    struct Course {
        double val;
        long long next;          // frame up to which that holds
        bool rest_flag = true;   // it stands still
        bool ended_flag = false; // for ever
    };
    struct Live {
        std::size_t note;
        GainCurve gain;
        Course volume; // in the plug-in's form
        Course pan;
    };
    struct Entry {
        Dsp::Event evt;
        int order; // among those of one time stamp
    };

    void start_notes(long len);
    void start_note(std::size_t note);
    void move_gain(Live& live, long long end);
    void move_pan(Live& live, long long end);
    void tell(Course& course, int index, std::size_t note, long len, double val_beg,
              double val_end);
    void release_notes(long len);
    Dsp::EventList sort_events();

    void add_note_event(Dsp::EventType type, long long frame, std::size_t note);
    void add_param(int index, long long frame, std::size_t note, long ramp_len, double val_beg,
                   double val_end);
    void add(long long frame, Dsp::Event& evt);
    GainCurve::Piece find_piece(GainCurve const& gain, long long own, long max_len) const;
    bool is_followed(GainCurve const& gain, long long own, GainCurve::Piece const& piece) const;
    double conv_gain(double gain) const;
    double conv_norm(double norm) const;
    long find_smoothing_len() const;

    std::vector<Note> const& _note_arr;
    session::Session::Track const& _track;
    Plugin& _plugin;
    double _sample_freq;
    std::vector<long long> _id_arr; // by note
    std::size_t _next = 0;          // the next note to begin
    long long _next_beg = 0;        // a frame before which none begins
    std::vector<Live> _live_arr;
    std::vector<Entry> _entry_arr;
    std::vector<Dsp::Event const*> _evt_arr;
    long long _pos = 0;
    bool _idle_flag = true;
};

} // namespace ulk::host::engine
