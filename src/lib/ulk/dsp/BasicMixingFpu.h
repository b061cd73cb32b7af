#pragma once

namespace ulk::dsp {

// Portable routines, for buffers of any alignment.
class BasicMixingFpu {
public:
    // real-time. The ranges may overlap where dst is the lower one.
    static void copy_1_1(float* dst, float const* src, long nbr_spl);
};

} // namespace ulk::dsp
