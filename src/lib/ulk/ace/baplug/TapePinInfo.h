#pragma once

#include "ulk/dsp/AudioDataMultiChn.h"

namespace ulk::ace::baplug {

// What a block needs to know of an output pin of Tape.
struct TapePinInfo {
    bool _mix_flag = false;      // the output holds a copy of the input: voices are added to it
    bool _ignore_flag = false;   // the host does not want the pin
    dsp::AudioDataMultiChn _buf; // where the voices mix
};

} // namespace ulk::ace::baplug
