#pragma once

#include <memory>

namespace ulk::sys {
class Mutex;
}

namespace ulk::sacc {

class SplFileFmtFactoryInterface;
class SplFileMgrImpl;

// The gate to sample files: however many handles (SplFileHnd) a file has, it is open once. WAV is
// registered from the start. A manager that is destroyed closes what is still open, with lines in
// the log, and its handles with it.
//
// The mutex puts all operations of all handles in a row, disk accesses included; none of this is
// for the real-time thread.
class SplFileMgr {
public:
    // The mutex is not owned and has to outlive the manager. It must be another one than the
    // background mutex of a cache that uses the manager: the cache holds that one while it calls
    // here, and taking a mutex twice blocks for ever.
    explicit SplFileMgr(sys::Mutex& mutex);
    SplFileMgr(SplFileMgr const&) = delete;
    SplFileMgr& operator=(SplFileMgr const&) = delete;
    virtual ~SplFileMgr();

    sys::Mutex& use_mutex();

    // As in SplFileFmtMgr. No lock is taken: not while another thread uses the manager.
    int register_format_factory(int fmt, SplFileFmtFactoryInterface& factory);
    int unregister_format_factory(int fmt);

    SplFileMgrImpl& use_impl() { return *_impl_uptr; } // for SplFileHnd

private:
    std::unique_ptr<SplFileMgrImpl> _impl_uptr;
};

} // namespace ulk::sacc
