#pragma once

#include "host/render/Envelope.h"

#include <string>

namespace ulk::host::render {

// A picture of a sound for terminals: bars of the highest level over time, a channel below the
// other, four rows of 12 dB each.
class WaveText {
public:
    // width in characters, the scale included; 20 or more. Without utf8_flag, bars are of '#'.
    static std::string print(Envelope const& envelope, int width, bool utf8_flag);
};

} // namespace ulk::host::render
