#pragma once

#include "host/render/LoudnessHistogram.h"

#include <array>
#include <vector>

namespace ulk::host::render {

// Loudness of a programme as a whole (ITU-R BS.1770-4) and its range (EBU Tech 3342), in fixed
// memory. It gives what libebur128 gives, in an eighth of the time: bench/meter.cpp.
//
// Channels are, in their order: mono; L R; L R C; L R Ls Rs; L R C Ls Rs; L R C LFE Ls Rs and
// others. The LFE and the others do not count.
class Loudness {
public:
    // sample_freq in Hz, 1 channel or more.
    Loudness(int nbr_chn, double sample_freq);
    Loudness(Loudness const&) = delete;
    Loudness& operator=(Loudness const&) = delete;
    ~Loudness();

    // Finite samples; blocks may be cut anywhere. Silence costs next to nothing. real-time
    void push(float const* const* chn_arr, long len);

    double compute_integrated() const; // LUFS; -inf for less than 0.4 s, and for silence
    double compute_range() const;      // LU; 0 where there is not enough to tell one

private:
    class PairFilter;

    static constexpr int _nbr_hops_momentary = 4; // 400 ms
    static constexpr int _nbr_hops_short = 30;    // 3 s, every second
    static constexpr int _nbr_hops_second = 10;

    void end_hop();
    double compute_energy(int nbr_hops) const;

    std::vector<PairFilter> _filter_arr; // two channels each
    long _hop_len;                       // frames in 100 ms
    long _hop_pos = 0;                   // frames of the current hop
    long long _nbr_hops = 0;
    std::array<double, _nbr_hops_short> _hop_arr{}; // weighted sums of squares, a ring
    LoudnessHistogram _momentary;
    LoudnessHistogram _short;
};

} // namespace ulk::host::render
