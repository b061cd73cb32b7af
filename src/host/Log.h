#pragma once

#include <string>

namespace ulk::host {

// The host's log function and what stands behind it. Warnings and errors go to standard error; the
// file that keep_all() opens gets every line. Cached lines come from paths that must not wait:
// they are held and go out with the next line that is not, or at flush(). Any thread.
class Log {
public:
    // Takes the records of a bundle; this is what its entry point installs. 0, or -1 for commands
    // other than 1. Nothing is thrown.
    static int receive(int cmd, void* data);

    // Makes or truncates the file. Throws an Error if it cannot be written.
    static void keep_all(std::string const& path);

    static void flush();
};

} // namespace ulk::host
