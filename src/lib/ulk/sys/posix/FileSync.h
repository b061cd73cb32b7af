#pragma once

namespace ulk::sys::posix {

class FileSync {
public:
    // Brings what was written to a file, by whatever descriptor, to the disk, and waits for it. 0,
    // or -1 and errno: some file systems can't. Never the real-time thread.
    static int sync_data(char const* path);
};

} // namespace ulk::sys::posix
