#pragma once

#include "ulk/sacc/SplFileFmtFactoryInterface.h"

namespace ulk::host {

// Recognises the formats of SoundFileFmt by their first bytes, but for RIFF WAVE.
class SoundFileFmtFactory : public sacc::SplFileFmtFactoryInterface {
protected:
    int do_detect_format(sys::File& file, int& fmt, archi::UByte const* header) override;
    int do_create_format(mem::SharedPtr<sacc::SplFileFmtInterface>& fmt_ptr) override;
};

} // namespace ulk::host
