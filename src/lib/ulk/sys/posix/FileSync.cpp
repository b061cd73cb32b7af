#include "ulk/sys/posix/FileSync.h"

#include "ulk/sys/posix/SysCall.h"

#include <cerrno>

#include <fcntl.h>

namespace ulk::sys::posix {

namespace {

// Of a call to sync: whether the disk failed, or it is but something that it can't.
int judge(int result) {
    bool const able_flag = errno != EINVAL && errno != ENOTSUP && errno != EROFS;
    return result != 0 && able_flag ? errno : 0;
}

} // namespace

FileSync::~FileSync() {
    if (_fd >= 0) {
        SysCall::close(_fd);
    }
}

int FileSync::open(std::string const& path) {
    _path = path;
    _fd = SysCall::open(path.c_str(), O_RDONLY);
    return _fd >= 0 ? 0 : errno;
}

int FileSync::sync() {
    int err = judge(SysCall::sync_data(_fd));
    if (err == 0 && !_entry_flag) {
        err = sync_folder();
        _entry_flag = err == 0;
    }
    return err;
}

// A folder that may be written but not read is left to the system.
int FileSync::sync_folder() const {
    auto const slash = _path.rfind('/');
    std::string const folder = slash == std::string::npos ? "." : _path.substr(0, slash + 1);
    int const fd = SysCall::open(folder.c_str(), O_RDONLY | O_DIRECTORY);
    if (fd < 0) {
        return 0;
    }
    int const err = judge(SysCall::sync_all(fd));
    SysCall::close(fd);
    return err;
}

} // namespace ulk::sys::posix
