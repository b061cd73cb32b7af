#pragma once

#include "ulk/archi/types.h"
#include <compare>
#include <string>

namespace ulk::sys::posix {

// A time stamp of the file system: seconds since 1970 and nanoseconds, 0 to 999999999.
struct TimeStamp {
    archi::Int64 sec = 0;
    archi::UInt32 nsec = 0;

    friend auto operator<=>(TimeStamp const&, TimeStamp const&) = default;
};

// What the file system tells of a file.
struct FileStat {
    archi::UInt64 device = 0;
    archi::UInt64 inode = 0;
    archi::Int64 len = 0; // bytes
    TimeStamp birth;
    TimeStamp modification;
    TimeStamp change;        // of the inode
    bool birth_flag = false; // the file system keeps the time of birth
    bool directory_flag = false;
    bool read_only_flag = false; // immutable, or nobody may write
};

// What a file system calls a file, whatever its path.
struct FileHandle {
    int type = 0;
    std::string bytes; // empty where the file system has no such names

    friend bool operator==(FileHandle const&, FileHandle const&) = default;
};

struct DirEntry {
    char const* name = nullptr;
    archi::UInt64 inode = 0;
    bool maybe_dir_flag = false; // a directory, or something of unknown kind
};

} // namespace ulk::sys::posix
