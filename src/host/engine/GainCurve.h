#pragma once

#include "host/engine/CurveLine.h"

namespace ulk::host::engine {

// A level over time as a factor: a session's points in dB, joined by straight lines in dB, times
// straight fades of the factor. Cut into pieces so short that a straight line of the factor follows
// it within 0.1 dB. Positions are frames from where the points' times count. A value that refers to
// the points; reading is real-time.
class GainCurve {
public:
    using Curve = session::Session::Curve;

    // In frames; a length of 0 is no fade.
    struct Fades {
        long long in_len = 0;  // from 0 on
        long long out_len = 0; // before out_end
        long long out_end = 0;
    };
    struct Piece {
        long len; // frames
        double beg;
        double end; // reached behind the last frame
    };

    // points: dB by seconds, none for 0 dB; they outlive the object. gain: dB, added.
    GainCurve(Curve const& points, double gain, double sample_freq, Fades const& fades);

    double find_gain(long long pos) const { return find_gain(find_line(pos), pos); }
    // The piece that begins at pos, of max_len frames at most; max_len is 1 or more.
    Piece find_piece(long long pos, long max_len) const;
    // The same factor from pos on, for ever.
    bool is_constant_from(long long pos) const;

private:
    CurveLine find_line(long long pos) const;
    double find_fade(long long pos) const;
    long long find_fade_end(long long pos) const; // where the fades' slope changes next
    static long long find_slope_end(CurveLine const& line, long long pos);
    double find_gain(CurveLine const& line, long long pos) const;
    bool is_bent(CurveLine const& line, long long pos, long long end) const;
    bool is_followed(CurveLine const& line, long long pos, long long end) const;

    Curve const* _points;
    double _sample_freq;
    double _gain;
    Fades _fades;
};

} // namespace ulk::host::engine
