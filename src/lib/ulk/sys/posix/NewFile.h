#pragma once

namespace ulk::sys::posix {

class NewFile {
public:
    // Makes an empty file, with the permissions that the process lets files have. One that is there
    // stays as it is, and must be one that may be written. 0 or an errno. Never the real-time
    // thread.
    static int make(char const* path);
};

} // namespace ulk::sys::posix
