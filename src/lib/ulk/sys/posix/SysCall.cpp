#include "ulk/sys/posix/SysCall.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace ulk::sys::posix {

namespace {

std::atomic<SysCall::Filter*> filter_aptr{nullptr};

// False if the filter refuses the call; errno is set then. May shorten `len`.
bool is_let_through(SysCall::Op op, long& len) {
    SysCall::Filter* const filter_ptr = filter_aptr.load(std::memory_order_acquire);
    if (filter_ptr == nullptr) {
        return true;
    }
    long const answer = filter_ptr->check(op, len);
    if (answer < 0) {
        errno = static_cast<int>(-answer);
        return false;
    }
    if (answer > 0 && answer < len) {
        len = answer;
    }
    return true;
}

// Makes the call, a function of the length that may be moved, until no signal interrupts it.
template <class F>
auto run(SysCall::Op op, long len, F call) -> decltype(call(len)) {
    for (;;) {
        long part = len;
        auto const result = is_let_through(op, part) ? call(part) : -1;
        if (result >= 0 || errno != EINTR) {
            return result;
        }
    }
}

template <class F>
auto run(SysCall::Op op, F call) {
    return run(op, 0, [&](long) { return call(); });
}

union HandleBuf {
    file_handle head;
    char bytes[sizeof(file_handle) + MAX_HANDLE_SZ];
};

TimeStamp conv_time(struct statx_timestamp const& ts) {
    return {ts.tv_sec, ts.tv_nsec};
}

std::string make_link(int fd) {
    return "/proc/self/fd/" + std::to_string(fd);
}

int stat_any(int fd, char const* path, int flags, FileStat& info) {
    struct statx st;
    int const result = run(SysCall::Op_STAT, [&] {
        return ::statx(fd, path, flags, STATX_BASIC_STATS | STATX_BTIME, &st);
    });
    if (result != 0) {
        return result;
    }
    info.device = makedev(st.stx_dev_major, st.stx_dev_minor);
    info.inode = st.stx_ino;
    info.len = static_cast<archi::Int64>(st.stx_size);
    info.birth_flag = (st.stx_mask & STATX_BTIME) != 0;
    info.birth = info.birth_flag ? conv_time(st.stx_btime) : TimeStamp{};
    info.modification = conv_time(st.stx_mtime);
    info.change = conv_time(st.stx_ctime);
    info.directory_flag = S_ISDIR(st.stx_mode);
    info.read_only_flag = (st.stx_attributes & STATX_ATTR_IMMUTABLE) != 0 ||
                          (st.stx_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
    return 0;
}

} // namespace

SysCall::Filter* SysCall::set_filter(Filter* filter_ptr) {
    return filter_aptr.exchange(filter_ptr, std::memory_order_acq_rel);
}

int SysCall::open(char const* path, int flags, unsigned int mode) {
    return run(Op_OPEN, [=] { return ::open(path, flags | O_CLOEXEC, mode); });
}

int SysCall::close(int fd) {
    long len = 0;
    bool const ok_flag = is_let_through(Op_CLOSE, len);
    int const fault = errno;
    int const result = ::close(fd); // never twice: the descriptor is gone whatever the result
    if (!ok_flag) {
        errno = fault;
        return -1;
    }
    return result;
}

long SysCall::read(int fd, void* data, long len, archi::Int64 pos) {
    return run(Op_READ, len, [=](long part) -> long {
        size_t const n = static_cast<size_t>(part);
        return pos < 0 ? ::read(fd, data, n) : ::pread(fd, data, n, pos);
    });
}

long SysCall::write(int fd, void const* data, long len, archi::Int64 pos) {
    return run(Op_WRITE, len, [=](long part) -> long {
        size_t const n = static_cast<size_t>(part);
        return pos < 0 ? ::write(fd, data, n) : ::pwrite(fd, data, n, pos);
    });
}

int SysCall::wait_writable(int fd) {
    return run(Op_WAIT, [=] {
        struct pollfd request = {fd, POLLOUT, 0};
        return ::poll(&request, 1, -1) < 0 ? -1 : 0;
    });
}

archi::Int64 SysCall::get_pos(int fd) {
    return run(Op_SEEK, [=] { return ::lseek(fd, 0, SEEK_CUR); });
}

int SysCall::set_len(int fd, archi::Int64 len) {
    return run(Op_TRUNCATE, [=] { return ::ftruncate(fd, len); });
}

int SysCall::sync_data(int fd) {
    return run(Op_SYNC, [=] { return ::fdatasync(fd); });
}

int SysCall::sync_all(int fd) {
    return run(Op_SYNC, [=] { return ::fsync(fd); });
}

int SysCall::lock_exclusive(int fd) {
    return run(Op_LOCK, [=] { return ::flock(fd, LOCK_EX | LOCK_NB); });
}

void SysCall::set_creation_mask(unsigned int mask) {
    ::umask(mask);
}

int SysCall::stat(int fd, FileStat& info) {
    return stat_any(fd, "", AT_EMPTY_PATH, info);
}

int SysCall::stat(char const* path, FileStat& info) {
    return stat_any(AT_FDCWD, path, 0, info);
}

int SysCall::set_modification_date(int fd, TimeStamp date) {
    struct timespec const time_arr[2] = {{0, UTIME_OMIT}, {date.sec, static_cast<long>(date.nsec)}};
    return run(Op_SET_DATE, [&] { return ::futimens(fd, time_arr); });
}

long SysCall::get_attribute(int fd, char const* name, void* data, long len) {
    return run(Op_GET_ATTRIBUTE, [=]() -> long {
        size_t const n = static_cast<size_t>(len);
        long const result = ::fgetxattr(fd, name, data, n);
        // Descriptors that only name a file have no attributes but through their link.
        return result < 0 && errno == EBADF ? ::getxattr(make_link(fd).c_str(), name, data, n)
                                            : result;
    });
}

int SysCall::set_attribute(int fd, char const* name, void const* data, long len) {
    return run(Op_SET_ATTRIBUTE,
               [=] { return ::fsetxattr(fd, name, data, static_cast<size_t>(len), 0); });
}

int SysCall::get_path(int fd, std::string& path) {
    char buf[PATH_MAX];
    long const len = run(
        Op_GET_PATH, [&]() -> long { return ::readlink(make_link(fd).c_str(), buf, sizeof(buf)); });
    if (len < 0 || len == static_cast<long>(sizeof(buf))) {
        errno = len < 0 ? errno : ENAMETOOLONG;
        return -1;
    }
    path.assign(buf, static_cast<size_t>(len));
    return 0;
}

int SysCall::get_handle(int fd, FileHandle& handle) {
    HandleBuf buf;
    buf.head.handle_bytes = MAX_HANDLE_SZ;
    int mount_id = 0;
    int const result = run(Op_GET_HANDLE, [&] {
        return ::name_to_handle_at(fd, "", &buf.head, &mount_id, AT_EMPTY_PATH);
    });
    if (result == 0) {
        handle.type = buf.head.handle_type;
        handle.bytes.assign(buf.bytes + sizeof(file_handle), buf.head.handle_bytes);
    }
    return result;
}

int SysCall::open_handle(int mount_fd, FileHandle const& handle, int flags) {
    HandleBuf buf;
    size_t const len = handle.bytes.size();
    if (len > MAX_HANDLE_SZ) {
        errno = EINVAL;
        return -1;
    }
    buf.head.handle_type = handle.type;
    buf.head.handle_bytes = static_cast<unsigned int>(len);
    std::memcpy(buf.bytes + sizeof(file_handle), handle.bytes.data(), len);
    return run(Op_OPEN_HANDLE,
               [&] { return ::open_by_handle_at(mount_fd, &buf.head, flags | O_CLOEXEC); });
}

int SysCall::list(int fd, std::function<bool(DirEntry const&)> const& fnc) {
    // A stream of its own descriptor: the position of `fd` stays, and O_PATH descriptors will do.
    int const list_fd = run(Op_LIST, [=] { return ::openat(fd, ".", O_DIRECTORY | O_CLOEXEC); });
    if (list_fd < 0) {
        return -1;
    }
    std::unique_ptr<DIR, int (*)(DIR*)> const dir(::fdopendir(list_fd), &::closedir);
    if (dir == nullptr) {
        ::close(list_fd);
        return -1;
    }
    while (dirent const* const entry = ::readdir(dir.get())) {
        std::string_view const name = entry->d_name;
        bool const maybe_dir_flag = entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN;
        if (name != "." && name != ".." && !fnc({entry->d_name, entry->d_ino, maybe_dir_flag})) {
            break;
        }
    }
    return 0;
}

int SysCall::make_dir(char const* path, unsigned int mode) {
    return run(Op_MAKE_DIR, [=] { return ::mkdir(path, mode); });
}

} // namespace ulk::sys::posix
