#pragma once

#include "ulk/sys/UtcTime.h"

#include <string>

namespace ulk::util {

// What a file system tells of a file or directory, as it stood when asked. A plain value.
class FileDescriptor {
public:
    FileDescriptor() = default; // no name, no dates, no bytes

    // The length is in bytes, the flags are those of make_flags().
    FileDescriptor(std::string const& name, sys::UtcTime const& creation_date,
                   sys::UtcTime const& modification_date, long long length, int flags);
    FileDescriptor(FileDescriptor const&) = default;
    FileDescriptor& operator=(FileDescriptor const&) = default;
    virtual ~FileDescriptor() = default;

    static int make_flags(bool directory_flag, bool read_only_flag, bool hidden_flag,
                          bool system_flag);

    std::string const& get_name() const { return _name; }
    sys::UtcTime const& get_creation_date() const { return _creation_date; }
    sys::UtcTime const& get_modification_date() const { return _modification_date; }
    long long get_length() const { return _length; }
    bool is_directory() const { return _directory_flag; }
    bool is_read_only() const { return _read_only_flag; }
    bool is_hidden() const { return _hidden_flag; }
    bool is_system() const { return _system_flag; }

private:
    enum Flag { Flag_DIRECTORY = 1, Flag_READ_ONLY = 2, Flag_HIDDEN = 4, Flag_SYSTEM = 8 };

    std::string _name;
    sys::UtcTime _creation_date;
    sys::UtcTime _modification_date;
    long long _length = 0;
    bool _directory_flag = false;
    bool _read_only_flag = false;
    bool _hidden_flag = false;
    bool _system_flag = false;
};

} // namespace ulk::util
