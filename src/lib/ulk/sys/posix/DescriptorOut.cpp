#include "ulk/sys/DescriptorOut.h"

#include "ulk/sys/Err.h"
#include "ulk/sys/posix/SysCall.h"

#include <cerrno>
#include <system_error>

#include <signal.h>

namespace ulk::sys {

using posix::SysCall;

DescriptorOut::DescriptorOut(int fd)
    : _fd(fd) {}

int DescriptorOut::write(archi::UByte const* data, long len) {
    while (len > 0) {
        long const part = SysCall::write(_fd, data, len, -1);
        if (part > 0) {
            data += part;
            len -= part;
        } else if (part == 0 || errno != EAGAIN || SysCall::wait_writable(_fd) != 0) {
            _err = part == 0 ? EIO : errno;
            return Err_FILE_WRITE;
        }
    }
    return 0;
}

std::string DescriptorOut::get_failure() const {
    return is_reader_gone() ? "the program that reads it has gone"
                            : std::generic_category().message(_err);
}

bool DescriptorOut::is_reader_gone() const {
    return _err == EPIPE;
}

void DescriptorOut::ignore_gone_readers() {
    ::signal(SIGPIPE, SIG_IGN);
}

} // namespace ulk::sys
