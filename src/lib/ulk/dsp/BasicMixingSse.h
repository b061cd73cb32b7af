#pragma once

namespace ulk::dsp {

// Vector routines of 128 bits, for buffers at 16-byte boundaries.
class BasicMixingSse {
public:
    // real-time. The ranges may overlap where dst is the lower one.
    static void copy_1_1(float* dst, float const* src, long nbr_spl);
};

} // namespace ulk::dsp
