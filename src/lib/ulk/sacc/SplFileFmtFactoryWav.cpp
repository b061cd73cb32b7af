#include "ulk/sacc/SplFileFmtFactoryWav.h"

#include "ulk/mem/SharedPtr.h"
#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileFmtWav.h"

#include <memory>

namespace ulk::sacc {

int SplFileFmtFactoryWav::do_detect_format(sys::File&, int& fmt, archi::UByte const* header) {
    if (SplFileFmtWav::compare_id(header, SplFileFmtWav::_chunk_id_riff) &&
        SplFileFmtWav::compare_id(header + 8, SplFileFmtWav::_chunk_id_wave)) {
        fmt = SplFileFmt_WAV;
    }
    return 0;
}

int SplFileFmtFactoryWav::do_create_format(mem::SharedPtr<SplFileFmtInterface>& fmt_ptr) {
    try {
        auto wav_uptr = std::make_unique<SplFileFmtWav>();
        fmt_ptr = mem::SharedPtr<SplFileFmtInterface>(wav_uptr.get());
        wav_uptr.release();
    } catch (...) {
        return Err_EXCEPTION;
    }
    return 0;
}

} // namespace ulk::sacc
