#pragma once

namespace ulk::sys {
class UtcTime;
}

namespace ulk::sys::posix {

// The dates of an open file. All operations give 0 or an errno. The file system lets nobody set
// its time of birth, so a creation date that was set is kept in an extended attribute.
class FileDate {
public:
    static int get_creation(UtcTime& date, int fd);
    static int set_creation(int fd, UtcTime const& date);
    static int get_modification(UtcTime& date, int fd);
    static int set_modification(int fd, UtcTime const& date);
};

} // namespace ulk::sys::posix
