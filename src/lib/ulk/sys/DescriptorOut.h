#pragma once

#include "ulk/archi/types.h"

#include <string>

namespace ulk::sys {

// Bytes into an open descriptor, such as a pipe to another program. One thread at a time; not the
// real-time thread.
class DescriptorOut {
public:
    static constexpr int STANDARD_OUTPUT = 1;

    // The descriptor stays the caller's.
    explicit DescriptorOut(int fd);

    // All of the bytes, however few go out at a time. 0, or Err_FILE_WRITE: get_failure() tells
    // why then.
    int write(archi::UByte const* data, long len);

    std::string get_failure() const; // for people; after a failed write
    bool is_reader_gone() const;     // what failed was a pipe without a reader

    // From then on, writing into a pipe without a reader fails instead of ending the process. For
    // the whole process, at its start.
    static void ignore_gone_readers();

private:
    int _fd;
    int _err = 0; // errno
};

} // namespace ulk::sys
