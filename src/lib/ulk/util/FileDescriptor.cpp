#include "ulk/util/FileDescriptor.h"

namespace ulk::util {

FileDescriptor::FileDescriptor(std::string const& name, sys::UtcTime const& creation_date,
                               sys::UtcTime const& modification_date, long long length, int flags)
    : _name(name)
    , _creation_date(creation_date)
    , _modification_date(modification_date)
    , _length(length)
    , _directory_flag((flags & Flag_DIRECTORY) != 0)
    , _read_only_flag((flags & Flag_READ_ONLY) != 0)
    , _hidden_flag((flags & Flag_HIDDEN) != 0)
    , _system_flag((flags & Flag_SYSTEM) != 0) {}

int FileDescriptor::make_flags(bool directory_flag, bool read_only_flag, bool hidden_flag,
                               bool system_flag) {
    return (directory_flag ? Flag_DIRECTORY : 0) | (read_only_flag ? Flag_READ_ONLY : 0) |
           (hidden_flag ? Flag_HIDDEN : 0) | (system_flag ? Flag_SYSTEM : 0);
}

} // namespace ulk::util
