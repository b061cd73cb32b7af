#include "ulk/sys/PlainFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ulk::sys {

namespace {

// It can only be read by setting it, which sys::File does later for its own ends.
mode_t read_umask() {
    mode_t const mask = ::umask(022);
    ::umask(mask);
    return mask;
}

mode_t const start_umask = read_umask();

} // namespace

bool PlainFile::make(char const* pathname) {
    int fd = ::open(pathname, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0) {
        static_cast<void>(::fchmod(fd, 0666 & ~start_umask));
    } else {
        fd = ::open(pathname, O_WRONLY | O_CLOEXEC | O_NONBLOCK);
    }
    return fd >= 0 && ::close(fd) == 0;
}

} // namespace ulk::sys
