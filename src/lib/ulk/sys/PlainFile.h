#pragma once

namespace ulk::sys {

// A file as other programs make it.
class PlainFile {
public:
    // Makes an empty file, with the permissions that the user's settings give to new files when
    // the program starts, unless there is one. False when there is none then. (sys::File makes
    // files that are their owner's alone.)
    static bool make(char const* pathname);
};

} // namespace ulk::sys
