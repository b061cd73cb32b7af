#include "host/SoundFileFmtFactory.h"

#include "host/SoundFileFmt.h"

#include <cstring>
#include <string_view>

namespace ulk::host {

namespace {

constexpr std::string_view start_arr[] = {"RIFX", "RF64", "riff", "FORM",
                                          "fLaC", "OggS", ".snd", "caff"};

} // namespace

int SoundFileFmtFactory::do_detect_format(sys::File&, int& fmt, archi::UByte const* header) {
    for (std::string_view const start : start_arr) {
        if (std::memcmp(header, start.data(), start.size()) == 0) {
            fmt = SoundFileFmt::number;
        }
    }
    return 0;
}

int SoundFileFmtFactory::do_create_format(mem::SharedPtr<sacc::SplFileFmtInterface>& fmt_ptr) {
    fmt_ptr = mem::SharedPtr<SoundFileFmt>::make();
    return 0;
}

} // namespace ulk::host
