#pragma once

#include "ulk/archi/types.h"

namespace ulk::dsp {

// Very cheap noise: the state of a linear congruential generator is taken for the bits of a float.
// A sample's exponent is fixed, only its sign and the seven top bits of its mantissa vary, so that
// the level lies between 1 and nearly 2 times the one that was set. One thread at a time.
class GenWhiteNoiseFast {
public:
    enum Mode { Mode_BOTH = 0, Mode_POSITIVE, Mode_NEGATIVE, Mode_NBR_ELT };

    GenWhiteNoiseFast() = default;
    virtual ~GenWhiteNoiseFast() = default;

    // real-time, all of them
    void clear_buffers(); // starts the sequence again; the level stays
    // The greatest power of 2 not above the level's magnitude, and the signs of the samples. The
    // sequence goes on.
    void set_rough_level(float level, Mode mode);
    float get_max_level() const; // greatest value of a sample; in mode 2 the lowest
    void process_block(float* dst, long nbr_spl);
    void process_block_add(float* dst, long nbr_spl);

private:
    float generate();

    archi::UInt32 _state = 1;
    archi::UInt32 _base = 0x3F000000;
    archi::UInt32 _mask = 0x807F0000;
};

} // namespace ulk::dsp
