#include "host/SampleFileMgr.h"

#include "host/SoundFileFmt.h"

namespace ulk::host {

SampleFileMgr::SampleFileMgr() {
    _mgr.unregister_format_factory(sacc::SplFileFmt_WAV);
    _mgr.register_format_factory(sacc::SplFileFmt_WAV, _wav_factory);
    _mgr.register_format_factory(SoundFileFmt::number, _sound_factory);
}

} // namespace ulk::host
