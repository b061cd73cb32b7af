#pragma once

#include "host/SoundFileFmtFactory.h"
#include "host/WavFmtFactory.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sys/Mutex.h"

namespace ulk::host {

// The files of samples that the host reads: plain WAV files by the sample library itself, all else
// through libsndfile. Written are WAV files alone.
class SampleFileMgr {
public:
    SampleFileMgr();

    sacc::SplFileMgr& use_mgr() { return _mgr; }

private:
    sys::Mutex _mutex;
    WavFmtFactory _wav_factory;
    SoundFileFmtFactory _sound_factory;
    sacc::SplFileMgr _mgr{_mutex};
};

} // namespace ulk::host
