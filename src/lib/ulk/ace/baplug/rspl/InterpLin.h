#pragma once

#include "ulk/archi/Fixed3232.h"
#include "ulk/archi/types.h"

namespace ulk::ace::baplug::rspl {

// Linear interpolation of interleaved frames into one buffer a channel, at a constant step. Each
// value is a + f * (b - a) in single precision, a and b being neighbours and f the fraction of the
// position: the same bits however many frames or channels are taken at once.
class InterpLin {
public:
    // Channel c goes to dest[c * dest_stride]. src: frames of nbr_chn floats; pos: position in
    // them, behind the last output frame on return; step: in 1/2^32 frames, 0 or more. Reads the
    // frame of each position and the one after it, and nothing else. nbr_spl: 0 or more. real-time
    static void process(float* dest, long dest_stride, float const* src, int nbr_chn, long nbr_spl,
                        archi::Fixed3232& pos, archi::Int64 step);
};

} // namespace ulk::ace::baplug::rspl
