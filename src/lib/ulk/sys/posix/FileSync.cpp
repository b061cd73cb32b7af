#include "ulk/sys/posix/FileSync.h"

#include "ulk/sys/posix/SysCall.h"

#include <fcntl.h>

namespace ulk::sys::posix {

int FileSync::sync_data(char const* path) {
    int const fd = SysCall::open(path, O_RDONLY);
    if (fd < 0) {
        return -1;
    }
    int const result = SysCall::sync_data(fd);
    SysCall::close(fd);
    return result;
}

} // namespace ulk::sys::posix
