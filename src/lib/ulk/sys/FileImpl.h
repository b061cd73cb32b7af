#pragma once

#include "ulk/archi/types.h"
#include "ulk/mem/SharedPtr.h"
#include "ulk/sys/posix/FileStream.h"

#include <string>

namespace ulk::sys {

class FileRef;
class UtcTime;

// What stands behind a File: the same operations, with the same meaning.
class FileImpl {
public:
    int open(char const* pathname, long flags);
    int close();
    bool is_open() const { return _stream.is_open(); }
    long get_flags() const;

    int read(archi::UByte* data, long len);
    int write(archi::UByte const* data, long len);

    int seek(archi::Int64 pos);
    int get_pos(archi::Int64& pos) const;
    int get_length(archi::Int64& len);
    int set_length(archi::Int64 len);

    int get_creation_date(UtcTime& date) const;
    int set_creation_date(UtcTime const& date);
    int get_modification_date(UtcTime& date) const;
    int set_modification_date(UtcTime const& date);

    int get_fileref(mem::SharedPtr<FileRef>& ref) const;

    static bool exist(char const* pathname, int kind);

private:
    bool check_open() const;

    std::string _pathname; // as given to open()
    posix::FileStream _stream;
    long _flags = 0;
};

} // namespace ulk::sys
