#include "ulk/sys/posix/NewFile.h"

#include "ulk/sys/posix/SysCall.h"

#include <cerrno>

#include <fcntl.h>

namespace ulk::sys::posix {

int NewFile::make(char const* path) {
    int const fd = SysCall::open(path, O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY, 0666);
    if (fd < 0) {
        return errno;
    }
    return SysCall::close(fd) == 0 ? 0 : errno;
}

} // namespace ulk::sys::posix
