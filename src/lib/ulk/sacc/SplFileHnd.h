#pragma once

#include "ulk/archi/types.h"
#include "ulk/sacc/SplFileBitFmt.h"
#include "ulk/sacc/SplFileFmt.h"

namespace ulk::sys {
class UtcTime;
}

namespace ulk::sacc {

class SplFileExtData;
class SplFileFmtCustomInterface;
class SplFileFmtDesc;
class SplFileMgr;
class SplFileMgrImpl;

// One client's hold on a sample file; it stands for the file through its address, so it is neither
// copied nor moved.
//
// Positions and lengths are in frames, floats are interleaved (len * get_nbr_chn()) with 1.0 as
// full scale. Functions that give an int status give 0 or an error of this library (Err.h) or of
// sys::File. All operations lock the manager's mutex and may wait for a disk; handles of one
// manager may be used by several threads, but one handle by one thread at a time. Any but open(),
// create_...(), close(), is_open() and the two answers from flags throw std::runtime_error when
// the handle is not open.
class SplFileHnd {
public:
    SplFileHnd() = default;
    SplFileHnd(SplFileHnd const&) = delete;
    SplFileHnd& operator=(SplFileHnd const&) = delete;
    virtual ~SplFileHnd(); // closes the file, with a line in the log, if it is open

    // An existing file, shared with the other handles on its path. Err_FILE_EXCLUSIVE if it is
    // being created, Err_FILE_NOT_WRITABLE if it is open for reading and write_flag asks for more.
    int open(SplFileMgr& file_mgr, char const* pathname, bool write_flag);

    // A new file of len frames (usually 0) that grows by writing, and is not shared before it is
    // closed. What stood at that path is lost. Err_FILE_ALREADY_OPEN if it has handles.
    int create_new(SplFileMgr& file_mgr, char const* pathname, SplFileFmtDesc const& desc,
                   archi::Int64 len);

    // A new file, of fixed length, with the headers and trailers of the one that ext_data is of;
    // its samples are to be written.
    int create_copy(SplFileMgr& file_mgr, char const* pathname, SplFileExtData const& ext_data);

    // The handle is closed afterwards whatever the result. The last handle of a file closes that,
    // and brings the headers of a new one up to date. Err_HANDLE_UNKNOWN if it was not open.
    int close();

    bool is_open() const { return _impl_ptr != nullptr; }

    // Brings the headers of a file in creation up to date with what has been written.
    int validate_new_data();

    archi::Int64 get_length() const; // frames
    int get_nbr_chn() const;
    double get_sample_freq() const; // Hz
    SplFileBitFmt get_sample_format() const;
    SplFileFmt get_file_format() const;
    SplFileFmtCustomInterface* get_data_provider(); // valid until close(), never null

    bool can_be_read() const;
    bool can_be_written() const { return _write_flag; }   // what it was opened for
    bool is_len_fixed() const { return !_creation_flag; } // false: writing behind the end extends

    // Err_OUT_OF_RANGE, and nothing done, for frames that the file does not have; writing to a file
    // in creation may go past its end.
    int read_block(float* dst, archi::Int64 pos, long len);
    int write_block(float const* src, archi::Int64 pos, long len);

    int read_ext_data(SplFileExtData& ext_data);

    int get_dates(sys::UtcTime& creation, sys::UtcTime& modification) const;
    int set_dates(sys::UtcTime const& creation, sys::UtcTime const& modification);

private:
    friend class SplFileMgrImpl; // lets go of the handles that outlive it

    SplFileMgrImpl& use_impl(char const* name) const;
    template <class F>
    int attach(SplFileMgr& file_mgr, bool write_flag, bool creation_flag, F const& open_fnc);

    SplFileMgrImpl* _impl_ptr = nullptr; // null while closed
    bool _write_flag = false;
    bool _creation_flag = false;
};

} // namespace ulk::sacc
