#include "ulk/sacc/SplFileFmtDesc.h"

namespace ulk::sacc {

void SplFileFmtDesc::clear() {
    *this = SplFileFmtDesc();
}

void SplFileFmtDesc::set_data(SplFileFmt file_fmt, SplFileBitFmt bit_fmt, double sample_freq,
                              int nbr_chn) {
    _file_fmt = file_fmt;
    _bit_fmt = bit_fmt;
    _sample_freq = sample_freq;
    _nbr_chn = nbr_chn;
}

} // namespace ulk::sacc
