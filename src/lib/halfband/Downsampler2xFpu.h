#pragma once

namespace halfband {

// Two-times decimator: a half-band low-pass made of two branches of first-order all-pass sections
// in z^-2 (polyphase IIR, as told by Valenzuela and Constantinides, "Digital signal processing
// schemes for efficient interpolation and decimation", IEE Proceedings 130, 1983). NC is the number
// of coefficients; those of even index belong to the branch fed by the second sample of a pair.
// Single precision throughout. For one thread at a time; all but set_coefs() is real-time.
template <int NC>
class Downsampler2xFpu {
public:
    static_assert(NC >= 2 && NC % 2 == 0);

    // NC coefficients, all 0.0 until set. The memory stays.
    void set_coefs(double const* coef_arr);
    void clear_buffers(); // the coefficients stay

    // src: two samples. The result is the low band, at half the rate.
    float process_sample(float const* src);
    // src: 2 * nbr_spl samples, dest: nbr_spl samples, at src or apart from it.
    void process_block(float* dest, float const* src, long nbr_spl);

    // The same, with the band that process_sample() drops.
    void process_sample_split(float& low, float& high, float const* src);
    void process_block_split(float* low, float* high, float const* src, long nbr_spl);

private:
    template <class F>
    void process(float const* src, long nbr_spl, F put);

    float _coef[NC] = {};
    float _x[NC] = {}; // last input of each section
    float _y[NC] = {}; // last output
};

} // namespace halfband

#include "halfband/Downsampler2xFpu.hpp"
