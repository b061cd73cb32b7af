#pragma once

#include "ulk/sacc/SplFileFmtFactoryWav.h"

namespace ulk::host {

// Leaves those WAV files to libsndfile that the sample library does not read: extensible and
// compressed ones, doubles, and files whose chunks of odd size have the pad byte behind them.
class WavFmtFactory : public sacc::SplFileFmtFactoryWav {
protected:
    int do_detect_format(sys::File& file, int& fmt, archi::UByte const* header) override;
};

} // namespace ulk::host
