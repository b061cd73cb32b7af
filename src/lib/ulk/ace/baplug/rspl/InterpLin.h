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
                        archi::Fixed3232& pos, archi::Int64 step) {
        _fnc(dest, dest_stride, src, nbr_chn, nbr_spl, static_cast<archi::UInt64>(pos.get_raw()),
             static_cast<archi::UInt64>(step));
        pos += archi::Fixed3232::from_raw(step) * nbr_spl;
    }

    // The same from a position that is not moved, in 1/2^32 frames. real-time
    using Fnc = void (*)(float* dest, long dest_stride, float const* src, int nbr_chn, long nbr_spl,
                         archi::UInt64 pos, archi::UInt64 step);
    // The routine for vectors of so many bits, 128 or 256; null where the processor has none.
    static Fnc use_fnc(int nbr_bits);

private:
    static void process_256(float* dest, long dest_stride, float const* src, int nbr_chn,
                            long nbr_spl, archi::UInt64 pos, archi::UInt64 step);

    static Fnc const _fnc; // for the widest vectors
};

} // namespace ulk::ace::baplug::rspl
