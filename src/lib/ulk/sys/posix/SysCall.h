#pragma once

#include "ulk/archi/types.h"
#include "ulk/sys/posix/FileStat.h"

#include <functional>
#include <string>

namespace ulk::sys::posix {

// The one way of the file layer to the kernel. The functions give what their system call gives, -1
// and errno on failure, but are made again as long as a signal interrupts them. A test can step in
// before each of them with a Filter. Safe from any thread; not for the real-time thread.
class SysCall {
public:
    enum Op {
        Op_OPEN,
        Op_CLOSE,
        Op_READ,
        Op_WRITE,
        Op_SEEK,
        Op_TRUNCATE,
        Op_LOCK,
        Op_STAT,
        Op_SET_DATE,
        Op_GET_ATTRIBUTE,
        Op_SET_ATTRIBUTE,
        Op_GET_PATH,
        Op_GET_HANDLE,
        Op_OPEN_HANDLE,
        Op_LIST,
        Op_MAKE_DIR,
        Op_WAIT,
        Op_SYNC,

        Op_NBR_ELT
    };

    // Stands before the kernel, for tests of faults.
    class Filter {
    public:
        virtual ~Filter() = default;

        // Asked before every call, `len` being the bytes to move, 0 for calls that move none.
        // 0 lets the call pass, a number above lets it move that many bytes at most, and -errno
        // makes it fail with that errno without being made. A failing close does close, as the
        // kernel's does. EINTR makes the call be asked for again.
        long check(Op op, long len) { return do_check(op, len); }

    protected:
        virtual long do_check(Op op, long len) = 0;
    };

    // The filter is seen by all threads and must outlive the calls; null takes it away. Gives the
    // filter that stood before.
    static Filter* set_filter(Filter* filter_ptr);

    // `flags` and `mode` are those of the C library's open(); O_CLOEXEC comes on top.
    static int open(char const* path, int flags, unsigned int mode = 0);
    static int close(int fd);

    // At `pos`; with a negative `pos`, at the descriptor's own position. Fewer bytes than asked
    // for are no failure.
    static long read(int fd, void* data, long len, archi::Int64 pos);
    static long write(int fd, void const* data, long len, archi::Int64 pos);

    // Until a descriptor that does not wait by itself takes bytes again, or has failed.
    static int wait_writable(int fd);

    static archi::Int64 get_pos(int fd);
    static int set_len(int fd, archi::Int64 len);
    static int sync_data(int fd);      // not the dates
    static int sync_all(int fd);       // of folders too
    static int lock_exclusive(int fd); // advisory, fails if another open file has the lock
    static void set_creation_mask(unsigned int mask);

    static int stat(int fd, FileStat& info); // descriptors of any kind
    static int stat(char const* path, FileStat& info);
    static int set_modification_date(int fd, TimeStamp date);

    // Extended attributes, of descriptors of any kind to be read; get gives the length read.
    static long get_attribute(int fd, char const* name, void* data, long len);
    static int set_attribute(int fd, char const* name, void const* data, long len);

    // The path of what the descriptor stands for, as the kernel knows it now.
    static int get_path(int fd, std::string& path);

    // The name that the file system itself gives to a file, never to be given to another; and a
    // descriptor for it by any descriptor of that file system, where the process is permitted.
    static int get_handle(int fd, FileHandle& handle);
    static int open_handle(int mount_fd, FileHandle const& handle, int flags);

    // Calls `fnc` for the entries of a directory, but not for "." and "..", until it gives false.
    static int list(int fd, std::function<bool(DirEntry const&)> const& fnc);
    static int make_dir(char const* path, unsigned int mode);
};

} // namespace ulk::sys::posix
