#pragma once

#include <string>

namespace ulk::sys::posix {

// Brings a file that others write to the disk. Its own descriptor keeps to the file whatever
// becomes of its name, and is told each error of the disk. One thread at a time; never the
// real-time thread.
class FileSync {
public:
    FileSync() = default;
    ~FileSync();
    FileSync(FileSync const&) = delete;
    FileSync& operator=(FileSync const&) = delete;

    // Once. 0 or an errno.
    int open(std::string const& path);
    // Waits for all that was written, by whatever descriptor, and the first time for the file's
    // entry in its folder. 0 or an errno; also 0 where the file system can't.
    int sync();

private:
    int sync_folder() const;

    std::string _path;
    int _fd = -1;
    bool _entry_flag = false; // has been brought to the disk
};

} // namespace ulk::sys::posix
