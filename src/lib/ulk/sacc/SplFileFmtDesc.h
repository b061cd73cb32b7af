#pragma once

#include "ulk/sacc/SplFileBitFmt.h"
#include "ulk/sacc/SplFileFmt.h"

namespace ulk::sacc {

// What a sample file to be made is like. A value; no locks.
class SplFileFmtDesc {
public:
    virtual ~SplFileFmtDesc() = default;

    void clear();
    void set_data(SplFileFmt file_fmt, SplFileBitFmt bit_fmt, double sample_freq, int nbr_chn);

    SplFileFmt get_file_fmt() const { return _file_fmt; }   // -1 when not set
    SplFileBitFmt get_bit_fmt() const { return _bit_fmt; }  // -1 when not set
    double get_sample_freq() const { return _sample_freq; } // Hz, -1 when not set
    int get_nbr_chn() const { return _nbr_chn; }            // -1 when not set

    // True if the bit format is one of the five; the other fields are not looked at.
    bool is_valid() const { return _bit_fmt >= 0 && _bit_fmt < SplFileBitFmt_NBR_ELT; }

private:
    SplFileFmt _file_fmt = SplFileFmt(-1);
    SplFileBitFmt _bit_fmt = SplFileBitFmt(-1);
    double _sample_freq = -1;
    int _nbr_chn = -1;
};

} // namespace ulk::sacc
