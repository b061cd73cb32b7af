#pragma once

#include <vector>

namespace ulk::host::session {

// Bars and beats against seconds, under changes of tempo and of the beats of a bar. Positions in
// beats count from 0 at the start of the session, bars and the beats in them from 1; before the
// start everything goes on as it begins there.
class TempoMap {
public:
    TempoMap()
        : TempoMap(120, 4) {}
    explicit TempoMap(double bpm, int nbr_beats = 4);

    // From beat on, which lies behind all changes so far, another tempo, and another number of
    // beats in a bar if beat is the first of one.
    void add_change(double beat, double bpm, int nbr_beats);

    double conv_beat_to_time(double beat) const; // s
    double conv_time_to_beat(double time) const;

    // Where a bar begins, in beats.
    double find_bar(long long bar) const;
    int get_nbr_beats(long long bar) const;

    // Where a length of bars and beats ends that begins at a position in beats. It ends as far
    // behind the start of its last bar as it begins behind that of its first, and beats further.
    double add_length(double beat, long long nbr_bars, double nbr_beats) const;

    // The bar that holds a position. What is a rounding error before a bar is in it.
    long long find_bar_of(double beat) const;

    // Whether a bar begins there, but for rounding errors.
    bool is_bar_start(double beat) const;

    // Of the last change, or those of the start.
    double get_last_time() const { return _part_arr.back().time; }
    double get_last_bpm() const { return _part_arr.back().bpm; }
    int get_last_nbr_beats() const { return _part_arr.back().nbr_beats; }

private:
    struct Part {
        double beat; // where it begins
        double time; // s
        double bpm;
        int nbr_beats;
        long long bar;   // some bar with this number of beats,
        double bar_beat; // and where it begins
    };

    std::vector<Part> _part_arr;
};

} // namespace ulk::host::session
