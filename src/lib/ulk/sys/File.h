#pragma once

#include "ulk/archi/types.h"
#include "ulk/mem/SharedPtr.h"

#include <memory>

namespace ulk::sys {

class FileImpl;
class FileRef;
class UtcTime;

// A binary file with buffered access. Every operation that gives an int gives 0 or a negative code
// of ulk/sys/Err.h, with a line in the log; out arguments keep their value on failure. Operations
// on a closed file give Err_FILE_NOT_OPEN. One thread at a time; never the real-time thread.
class File {
public:
    enum Flag : long {
        Flag_READ = 1,
        Flag_WRITE = 2,  // also reads; locked against other writers
        Flag_CREATE = 4, // makes the file if it isn't there; needs Flag_WRITE
        Flag_ERASE = 8   // empties the file; needs Flag_WRITE
    };

    File();
    File(File const&) = delete;
    File& operator=(File const&) = delete;
    virtual ~File(); // closes

    // A UTF-8 path, whose last element must not be a symbolic link. Err_FILE_OPEN on failure.
    int open(char const* pathname, long flags);

    // Err_FILE_CLOSE if the file is not open, or if what is still buffered can't be written: the
    // file stays open then, and closing may be tried again.
    int close();
    bool is_open() const;

    // The flags in force, or Err_FILE_NOT_OPEN.
    long get_flags() const;

    // `len` bytes at the position, which moves behind them. A file that ends before gives what it
    // has and Err_FILE_READ_PAST_END; with any other failure the position stays.
    int read(archi::UByte* data, long len);
    int write(archi::UByte const* data, long len);

    // Positions and lengths are in bytes. set_length() leaves the position.
    int seek(archi::Int64 pos);
    int get_pos(archi::Int64& pos) const;
    int get_length(archi::Int64& len) const;
    int set_length(archi::Int64 len);

    // Where the file system keeps no date of creation, or lets none be set, an extended attribute
    // holds the one that was set; without it, the oldest of the other dates stands for it.
    int get_creation_date(UtcTime& date) const;
    int set_creation_date(UtcTime const& date);
    int get_modification_date(UtcTime& date) const;
    int set_modification_date(UtcTime const& date);

    // A reference to the open file itself, which outlives its being closed or renamed.
    int get_fileref(mem::SharedPtr<FileRef>& ref) const;

    // `kind` 1 asks for a file, 2 for a directory; anything else does not exist.
    static bool exist(char const* pathname, int kind);

private:
    std::unique_ptr<FileImpl> _impl;
};

} // namespace ulk::sys
