#pragma once

#include "ulk/archi/types.h"
#include "ulk/mem/SharedPtr.h"
#include "ulk/sacc/SplFileBitFmt.h"
#include "ulk/sacc/SplFileFmtInterface.h"

namespace ulk::sys {
class File;
}

namespace ulk::sacc {

class SplFileExtData;
class SplFileFmtMgr;

// Helpers that file formats and their users share. No state, no locks.
class SplFileFmtTools {
public:
    SplFileFmtTools() = delete;

    static int get_nbr_bytes_per_sample(SplFileBitFmt bit_fmt); // 1 for what is no format
    // The number in a file that stands for 1.0; 1 for what is no format.
    static double get_std_nominal_val(SplFileBitFmt bit_fmt);

    // Finds the format of a file by its first 512 bytes and makes an object for it. 0 or an error,
    // Err_FORMAT_UNKNOWN among them; after an error fmt_ptr is null.
    static int detect_format(sys::File& file, mem::SharedPtr<SplFileFmtInterface>& fmt_ptr,
                             SplFileFmtMgr& fmt_mgr);

    // Writes the parts at their places, after making the file as long as the data's extent if it is
    // shorter. The first error ends it.
    static int write_parts(sys::File& file, SplFileExtData const& ext_data);

    // Appends len bytes from pos of the file to ext_data, cut at the file's end, in pieces of at
    // most 1 GiB. The first error ends it.
    static int read_and_store_part(sys::File& file, SplFileExtData& ext_data, archi::Int64 pos,
                                   archi::Int64 len);
};

} // namespace ulk::sacc
