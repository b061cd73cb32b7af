#pragma once

#include "ulk/archi/types.h"
#include "ulk/mem/SharedPtr.h"
#include "ulk/sacc/SplFileBitFmt.h"
#include "ulk/sacc/SplFileFmt.h"
#include "ulk/sacc/SplFileFmtInterface.h"
#include "ulk/sys/File.h"

namespace ulk::sys {
class UtcTime;
}

namespace ulk::sacc {

class SplFileExtData;
class SplFileFmtDesc;
class SplFileFmtMgr;

// A sample file on disk: its descriptor and what its format knows of it. Everything but is_open(),
// can_read(), can_write(), close() and the three ways to open needs an open file. Units and errors
// as in SplFileHnd. No locks; the manager's mutex covers it.
class SplFileUnique {
public:
    SplFileUnique() = default;
    SplFileUnique(SplFileUnique const&) = delete;
    SplFileUnique& operator=(SplFileUnique const&) = delete;
    virtual ~SplFileUnique(); // closes an open file, with a line in the log

    // Tries to open for writing in any case, so that a later writer can share the file; then, with
    // read_fallback, for reading alone. After an error of the three the file is closed.
    int open(char const* pathname, SplFileFmtMgr& fmt_mgr, bool read_fallback);
    int create_new(char const* pathname, SplFileFmtMgr& fmt_mgr, SplFileFmtDesc const& desc,
                   archi::Int64 len);
    int create_copy(char const* pathname, SplFileFmtMgr& fmt_mgr, SplFileExtData const& ext_data);

    // Brings the headers of a new file up to date before. The first error is given, and the format
    // is let go of whatever happens.
    int close();
    int clear(); // closes as it is; 0 if it was not open

    bool is_open() const { return _file.is_open(); }
    bool can_read() const { return has_flag(sys::File::Flag_READ); }
    bool can_write() const { return has_flag(sys::File::Flag_WRITE); }

    int validate_new_data();
    archi::Int64 get_length() const { return _fmt_ptr->get_length(); }
    int get_nbr_chn() const { return _fmt_ptr->get_nbr_chn(); }
    double get_sample_freq() const { return _fmt_ptr->get_sample_freq(); }
    SplFileBitFmt get_sample_format() const { return _fmt_ptr->get_sample_format(); }
    SplFileFmt get_file_format() const { return _fmt_ptr->get_file_format(); }
    bool is_len_fixed() const { return !_fmt_ptr->is_file_being_created(); }
    SplFileFmtCustomInterface* get_data_provider() { return _fmt_ptr.get(); }

    int read_block(float* dst, archi::Int64 pos, long len);
    int write_block(float const* src, archi::Int64 pos, long len);
    int read_ext_data(SplFileExtData& ext_data);
    int get_dates(sys::UtcTime& creation, sys::UtcTime& modification) const;
    int set_dates(sys::UtcTime const& creation, sys::UtcTime const& modification);

private:
    bool has_flag(sys::File::Flag flag) const {
        return is_open() && (_file.get_flags() & flag) != 0;
    }
    bool is_in_file(archi::Int64 pos, long len) const;
    int identify(SplFileFmtMgr& fmt_mgr);
    int clear_on_error(int ret_val);

    mem::SharedPtr<SplFileFmtInterface> _fmt_ptr; // null while closed
    sys::File _file;
};

} // namespace ulk::sacc
