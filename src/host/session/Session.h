#pragma once

#include "host/session/TempoMap.h"

#include <limits>
#include <string>
#include <vector>

namespace ulk::host::session {

// Which sounds play when: what a session file says, with every name looked up and every time in
// seconds. Plain data; what it holds has been checked by whoever made it.
class Session {
public:
    // A level of silence, in dB.
    static constexpr double silence = -std::numeric_limits<double>::infinity();
    static constexpr double to_the_end = std::numeric_limits<double>::infinity();
    static constexpr int master = -1; // as an output
    static constexpr int max_nbr_chn = 16;

    // Where something was written, for messages. Lines and columns count from 1, 0 is unknown.
    struct Place {
        int file = 0; // index into file_arr
        int line = 0;
        int column = 0;
    };

    // A value over time. It runs straight between points and stands before the first and behind
    // the last; at least one point, times ascending, equal ones make a jump.
    struct Point {
        double time; // s
        double val;
    };
    using Curve = std::vector<Point>;

    struct Sample {
        std::string path; // as the program opens it
        Place place;      // where it is asked for first
    };

    struct Clip {
        int sample = 0;             // index into sample_arr
        double at = 0;              // s from the start of the session; may be below 0
        double offset = 0;          // s of the sample's own time, 0 or more
        double length = to_the_end; // s of the session's time, above 0
        double gain = 0;            // dB
        double pitch = 0;           // semitones, -24 to 24
        double fade_in = 0;         // s
        double fade_out = 0;        // s, before the clip's end
        Curve volume;               // dB, added to gain, from the clip's beginning on; may be empty
        Curve pan = {{0, 0}};       // -1 left to 1 right, from the clip's beginning on
        Place place;
    };

    // A change of a plug-in's parameter, as typed.
    struct ParamPoint {
        double time; // s
        std::string param;
        std::string val;
        double ramp; // s, how long it takes; 0 is a jump
        Place place;
    };

    enum class Dry {
        NONE,  // the plug-in has no second input, or hears nothing there
        PRE,   // the track's sound before its inserts
        TRACK, // another track's sound, behind its volume
    };

    struct Insert {
        std::string plugin; // identifier
        std::vector<ParamPoint> params;
        Dry dry = Dry::PRE;
        int dry_track = 0; // index into track_arr
        Place place;
    };

    struct Track {
        std::string name;
        int nbr_chn = 2;             // 1 to max_nbr_chn
        int output = master;         // or an index into track_arr
        Curve volume = {{0, 0}};     // dB
        bool mute_flag = false;      // sounds nowhere, also not as a dry side
        std::vector<Insert> inserts; // in the order of the sound
        std::vector<Clip> clips;
        Place place;
    };

    // A place to jump to.
    struct Cue {
        std::string name;
        double time = 0; // s, 0 or more
    };

    // "file:line:column"
    std::string tell(Place const& place) const;

    std::vector<std::string> file_arr; // the session's own first, then its lists of clips
    std::string name;
    double sample_freq = 48000; // Hz
    TempoMap tempo_map;
    int nbr_chn = 2;         // of the mix, 1 to max_nbr_chn
    double tail = 0;         // s behind the last clip's end
    Curve volume = {{0, 0}}; // dB, of the mix
    std::vector<Sample> sample_arr;
    std::vector<Track> track_arr;
    std::vector<Cue> cue_arr; // by time
};

} // namespace ulk::host::session
