#pragma once

#include "ulk/dsp/mixing/Forms.h"

namespace ulk::dsp {

extern template class mixing::Forms<void, void>;

// Portable scalar routines, for buffers of any alignment. Those whose frames don't depend on each
// other are laid out for the compiler to vectorise.
class BasicMixingFpu : public mixing::Forms<void, void> {
public:
    // real-time
    static void copy_1_ni1(D d, S s, long n, int stride);
    static void copy_ni1_1(D d, S s, long n, int stride);
    static void copy_nip_mip(D d, S s, long n, int d_stride, int s_stride, int count);
    static void mix_ni1_1(D d, S s, long n, int stride);
    static void clear_nim(D d, long n, int count, int skip);
};

} // namespace ulk::dsp
