#pragma once

#include "ulk/archi/types.h"
#include "ulk/sys/posix/FileStat.h"

#include <memory>

namespace ulk::sys::posix {

// A buffered stream over a descriptor. The buffer is a window on the file that holds either bytes
// that were read, or bytes of consecutive writes that are still to be written. What fails leaves
// the position and the pending bytes as they were, so that it can be tried again. Failures leave
// their reason in errno. One thread at a time.
class FileStream {
public:
    enum Mode {
        Mode_READ = 0,
        Mode_WRITE = 1,  // also reads; exclusive, takes the lock of the file
        Mode_CREATE = 2, // for Mode_WRITE: makes the file if it isn't there
        Mode_ERASE = 4   // for Mode_WRITE: empties the file, once the lock is held
    };

    FileStream() = default;
    FileStream(FileStream const&) = delete;
    FileStream& operator=(FileStream const&) = delete;
    ~FileStream(); // lets go of the descriptor and of what could not be written

    // Opens without following a symbolic link and without waiting. `mode` combines Mode values;
    // `open_flags` receives those of the last attempt. 0 or -1.
    int open_descriptor(char const* pathname, int mode, int& open_flags);

    // Makes the stream usable after open_descriptor(); on failure everything is closed. 0 or -1.
    int start();

    // Writes what is pending and closes. If the writing fails, the stream stays as it was.
    int close();
    bool is_open() const { return _open_flag; }

    // The bytes read, fewer than `len` only at the end of the file; -1 on failure.
    long read(archi::UByte* data, long len);
    int write(archi::UByte const* data, long len);
    int flush();

    int seek(archi::Int64 pos);
    int get_pos(archi::Int64& pos) const;

    // Neither flushes nor moves the position.
    int set_len(archi::Int64 len);

    // The descriptor, for what does not move bytes.
    int get_descriptor() const { return _fd; }

private:
    static constexpr long BUF_LEN = 4096; // bytes, a page; longer transfers go past the buffer
    static constexpr long JUMP_LEN = 512; // read at least behind a jump: a header and its chunks

    int prepare_descriptor(int mode);
    void drop();
    archi::Int64 conv_pos(archi::Int64 pos) const { return _seek_flag ? pos : -1; }
    bool can_append(long len) const;
    long read_window(archi::UByte* data, long len, archi::Int64 pos) const;
    long fill(archi::Int64 pos, long len);
    long write_at(archi::UByte const* data, long len, archi::Int64 pos);

    int _fd = -1;
    bool _open_flag = false;
    bool _write_flag = false;
    bool _seek_flag = false;  // pipes and terminals have no position
    bool _dirty_flag = false; // the window is to be written
    std::unique_ptr<archi::UByte[]> _buf;
    archi::Int64 _buf_pos = 0; // of the window's first byte
    long _buf_len = 0;         // of the window
    archi::Int64 _pos = 0;
};

} // namespace ulk::sys::posix
