#include "ulk/sys/posix/FileStream.h"

#include "ulk/sys/posix/SysCall.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include <fcntl.h>

namespace ulk::sys::posix {

namespace {

int fail(int err) {
    errno = err;
    return -1;
}

} // namespace

FileStream::~FileStream() {
    drop();
}

int FileStream::open_descriptor(char const* pathname, int mode, int& open_flags) {
    int const base = ((mode & Mode_WRITE) != 0 ? O_RDWR : O_RDONLY) | O_NOFOLLOW | O_NONBLOCK;
    open_flags = (mode & Mode_CREATE) != 0 ? base | O_CREAT | O_EXCL : base;
    if (pathname == nullptr) {
        return fail(EFAULT);
    }
    _fd = SysCall::open(pathname, open_flags, 0600);
    if (_fd < 0 && errno == EEXIST && open_flags != base) {
        open_flags = base;
        _fd = SysCall::open(pathname, open_flags);
    }
    return _fd >= 0 ? prepare_descriptor(mode) : -1;
}

int FileStream::start() {
    errno = 0;
    _seek_flag = SysCall::get_pos(_fd) >= 0;
    int err = _seek_flag || errno == ESPIPE ? 0 : errno;
    _buf.reset(new (std::nothrow) archi::UByte[BUF_LEN]);
    if (_buf == nullptr) {
        err = ENOMEM;
    }
    if (err != 0) {
        drop();
        return fail(err);
    }
    _open_flag = true;
    return 0;
}

int FileStream::close() {
    if (flush() != 0) {
        return -1;
    }
    // A close that fails takes the descriptor all the same. The stream counts as open after it, and
    // the next attempt finds nothing left that could fail.
    int const fd = std::exchange(_fd, -1);
    if (fd >= 0 && SysCall::close(fd) != 0) {
        return -1;
    }
    drop();
    return 0;
}

long FileStream::read(archi::UByte* data, long len) {
    if (len < 0) {
        return fail(EINVAL);
    }
    if (flush() != 0) {
        return -1;
    }
    len = std::min<long>(len, std::numeric_limits<long>::max() - _pos);
    long done = 0;
    while (done < len) {
        archi::Int64 const pos = _pos + done;
        long part = read_window(data + done, len - done, pos);
        if (part == 0 && len - done < BUF_LEN) {
            part = fill(pos, len - done) < 0 ? -1 : read_window(data + done, len - done, pos);
        } else if (part == 0) {
            part = SysCall::read(_fd, data + done, len - done, conv_pos(pos));
        }
        if (part < 0) {
            return -1;
        }
        if (part == 0) {
            break;
        }
        done += part;
    }
    _pos += done;
    return done;
}

int FileStream::write(archi::UByte const* data, long len) {
    if (len < 0 || len > std::numeric_limits<long>::max() - _pos) {
        return fail(EINVAL);
    }
    if (len == 0) {
        return 0;
    }
    if (!_write_flag) {
        return fail(EBADF);
    }
    if (!can_append(len)) {
        if (flush() != 0) {
            return -1;
        }
        _buf_len = 0;
        if (len >= BUF_LEN) {
            if (write_at(data, len, _pos) < len) {
                return -1;
            }
            _pos += len;
            return 0;
        }
        _buf_pos = _pos;
        _dirty_flag = true;
    }
    std::memcpy(&_buf[static_cast<size_t>(_buf_len)], data, static_cast<size_t>(len));
    _buf_len += len;
    _pos += len;
    return 0;
}

int FileStream::flush() {
    if (!_dirty_flag) {
        return 0;
    }
    long const done = write_at(_buf.get(), _buf_len, _buf_pos);
    if (done < _buf_len) {
        _buf_len -= done;
        _buf_pos += done;
        std::memmove(&_buf[0], &_buf[static_cast<size_t>(done)], static_cast<size_t>(_buf_len));
        return -1;
    }
    _dirty_flag = false;
    return 0;
}

int FileStream::seek(archi::Int64 pos) {
    if (pos < 0) {
        return fail(EINVAL);
    }
    if (!_seek_flag) {
        return fail(ESPIPE);
    }
    _pos = pos;
    return 0;
}

int FileStream::get_pos(archi::Int64& pos) const {
    if (!_seek_flag) {
        return fail(ESPIPE);
    }
    pos = _pos;
    return 0;
}

int FileStream::set_len(archi::Int64 len) {
    if (SysCall::set_len(_fd, len) != 0) {
        return -1;
    }
    if (!_dirty_flag) {
        _buf_len = 0; // what was read may lie behind the end now
    }
    return 0;
}

// The file is emptied only once the lock is held: a refused opening must not destroy what the
// holder of the lock is writing.
int FileStream::prepare_descriptor(int mode) {
    _write_flag = (mode & Mode_WRITE) != 0;
    bool const erase_flag = (mode & Mode_ERASE) != 0;
    if (_write_flag &&
        (SysCall::lock_exclusive(_fd) != 0 || (erase_flag && SysCall::set_len(_fd, 0) != 0))) {
        int const err = errno;
        drop();
        return fail(err);
    }
    return 0;
}

void FileStream::drop() {
    if (_fd >= 0) {
        SysCall::close(std::exchange(_fd, -1));
    }
    _open_flag = false;
    _dirty_flag = false;
    _buf.reset();
    _buf_pos = 0;
    _buf_len = 0;
    _pos = 0;
}

bool FileStream::can_append(long len) const {
    return _dirty_flag && _pos == _buf_pos + _buf_len && len <= BUF_LEN - _buf_len;
}

// Copies what the window holds from `pos` on.
long FileStream::read_window(archi::UByte* data, long len, archi::Int64 pos) const {
    archi::Int64 const beg = pos - _buf_pos;
    if (beg < 0 || beg >= _buf_len) {
        return 0;
    }
    long const part = std::min<long>(len, _buf_len - static_cast<long>(beg));
    std::memcpy(data, &_buf[static_cast<size_t>(beg)], static_cast<size_t>(part));
    return part;
}

// Moves the window to `pos`. The bytes that it then holds, 0 at the end of the file, -1 on failure.
// Reading on goes to the end of the page, as reads across pages cost more. A jump may be followed
// by another one, and brings little more than the `len` bytes that are wanted.
long FileStream::fill(archi::Int64 pos, long len) {
    bool const jump_flag = pos != _buf_pos + _buf_len;
    long const fill_len = jump_flag ? std::min(std::max(len, JUMP_LEN), BUF_LEN)
                                    : BUF_LEN - static_cast<long>(pos % BUF_LEN);
    _buf_len = 0;
    long const part = SysCall::read(_fd, _buf.get(), fill_len, conv_pos(pos));
    if (part > 0) {
        _buf_pos = pos;
        _buf_len = part;
    }
    return part;
}

// The bytes written; fewer than `len` is a failure.
long FileStream::write_at(archi::UByte const* data, long len, archi::Int64 pos) {
    long done = 0;
    while (done < len) {
        long const part = SysCall::write(_fd, data + done, len - done, conv_pos(pos + done));
        if (part <= 0) {
            if (part == 0) {
                errno = EIO;
            }
            break;
        }
        done += part;
    }
    return done;
}

} // namespace ulk::sys::posix
