#pragma once

#include "ulk/sacc/SplFileFmtFactoryInterface.h"

namespace ulk::sacc {

// Recognises RIFF WAVE files and makes SplFileFmtWav objects. No state.
class SplFileFmtFactoryWav : public SplFileFmtFactoryInterface {
protected:
    int do_detect_format(sys::File& file, int& fmt, archi::UByte const* header) override;
    int do_create_format(mem::SharedPtr<SplFileFmtInterface>& fmt_ptr) override;
};

} // namespace ulk::sacc
