#pragma once

#include "ulk/archi/types.h"
#include "ulk/sys/posix/FileStat.h"

namespace ulk::util {
class BinaryStreamInput;
class BinaryStreamOutputBase;
} // namespace ulk::util

namespace ulk::sys::posix {

// What names a file whatever its path, and stays the same for all its life. Inodes are used again
// for other files, so only a time of birth or a handle proves that it is still the same file.
struct FileIdentity {
    archi::UInt64 device = 0;
    archi::UInt64 inode = 0;
    bool birth_flag = false; // the file system keeps the time of birth
    TimeStamp birth;
    FileHandle handle;

    // Of a descriptor of any kind. False and errno on failure.
    bool read_from(int fd);

    bool has_proof() const { return birth_flag || !handle.bytes.empty(); }

    // Devices are numbered anew at each start of the machine, so with proof they don't count.
    bool is_same_file(FileIdentity const& other) const;

    void write(util::BinaryStreamOutputBase& stream) const;
    int read(util::BinaryStreamInput& stream); // 0 or the stream's code
};

} // namespace ulk::sys::posix
