#pragma once

#include "host/render/Loudness.h"
#include "host/render/SoundHash.h"
#include "host/render/TruePeak.h"

#include <cstdint>
#include <vector>

namespace ulk::host::render {

// What there is to tell of a sound, taken as it goes by in blocks. Its figures do not depend on how
// the sound is cut.
class Meter {
public:
    // Levels are -inf for silence.
    struct Figures {
        long long nbr_frames = 0;
        std::vector<double> peak_arr; // dBFS, a channel each
        double peak = 0;              // dBFS, the highest of them
        double true_peak = 0;         // dBTP
        double loudness = 0;          // LUFS, integrated
        double loudness_range = 0;    // LU
        long long nbr_clipped = 0;    // frames
        long long nbr_non_finite = 0; // samples
        std::uint64_t hash = 0;       // of the samples as they came (SoundHash)
    };

    // A frame counts as clipped when a sample of it is above clip_level or below -1.
    Meter(int nbr_chn, double sample_freq, float clip_level = 1);

    // len frames from one buffer a channel. Samples that are not finite are counted, and silence
    // otherwise. real-time
    void push(float const* const* chn_arr, long len);

    Figures compute_figures() const;

private:
    struct Channel {
        TruePeak true_peak;
        float peak = 0;
        std::vector<float> finite; // a block without what is not finite
    };

    void push_block(long len);
    float const* make_finite(Channel& channel, float const* spl_arr, long len);
    long long count_clipped(long len) const;

    float _clip_level;
    std::vector<Channel> _channel_arr;
    std::vector<float const*> _raw_arr;    // the block as it came
    std::vector<float const*> _finite_arr; // the block as it is measured
    Loudness _loudness;
    SoundHash _hash;
    long long _nbr_frames = 0;
    long long _nbr_clipped = 0;
    long long _nbr_non_finite = 0;
};

} // namespace ulk::host::render
