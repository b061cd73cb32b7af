#pragma once

#include <limits>

namespace ulk::host::engine {

// A clip as a note of a sample player. Frames count from the first that the engine makes.
struct Note {
    static constexpr long long never = std::numeric_limits<long long>::max() / 4;

    int track;           // index in the session
    int clip;            // index in the track
    int sample;          // index in the session
    int nbr_chn;         // of the sample
    int pin;             // of the player
    float rate;          // source frames a frame
    double pos;          // where it begins, in seconds of the sample's time
    double src_beg;      // the same, in source frames
    long long spl_len;   // source frames
    double spl_freq;     // Hz
    long long beg;       // Note On
    long long off;       // Note Off, or never when the sample ends before
    long long end;       // from here on it is surely silent
    long long clip_beg;  // where the clip's own time is 0; may lie before beg
    long long clip_end;  // where a fade-out ends
    long long heard_beg; // the first frame that may be heard
    long long heard_end; // behind the last one

    struct Range {
        long long beg;
        long long end; // behind the last
    };
    // The source frames that are read for the frames from a to b - 1, as far as the sample has
    // them; both are within the note. A few more than needed, since positions are rounded sums.
    Range find_range(long long a, long long b) const;
    // Those of the frames from a to b - 1 that are made of at least one of these source frames; may
    // be empty, or its end lie before its beginning. real-time
    Range find_frames(long long a, long long b, Range const& source) const;
    // What the voice itself may have asked for by the time that it has played this.
    Range find_ahead(Range const& range) const;

    static constexpr long voice_grain = 4096; // source frames, by which voices ask for more
};

} // namespace ulk::host::engine
