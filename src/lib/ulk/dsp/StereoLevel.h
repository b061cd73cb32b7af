#pragma once

namespace ulk::dsp {

// Gains of a 2 by 2 matrix, each named from a source channel to a destination channel:
// left out = left in * ll + right in * rl, right out = left in * lr + right in * rr.
struct StereoLevel {
    float ll;
    float lr;
    float rl;
    float rr;
};

} // namespace ulk::dsp
