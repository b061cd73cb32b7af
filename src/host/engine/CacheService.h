#pragma once

#include "host/SampleFileMgr.h"
#include "ulk/sacc/SplCache.h"
#include "ulk/sys/Mutex.h"

namespace ulk::host::engine {

// A sample cache with all that it stands on. Whoever drives the real-time side holds a Pass.
class CacheService {
public:
    // Lengths in floats: memory for reading and for recording, and of one cell.
    struct Size {
        long normal_len;
        long rec_len;
        long cell_len;

        long get_nbr_cells() const { return normal_len / cell_len; }
    };

    // The real-time pass: nothing moves in the cache for as long as it lives. Passes don't nest.
    class Pass {
    public:
        explicit Pass(CacheService& service)
            : _mutex(service._mutex_rt) {
            _mutex.lock_quick();
        }
        ~Pass() { _mutex.unlock(); }
        Pass(Pass const&) = delete;
        Pass& operator=(Pass const&) = delete;

    private:
        sys::Mutex const& _mutex;
    };

    // Throws an Error when there is no memory for it.
    explicit CacheService(Size const& size);

    Size const& get_size() const { return _size; }
    sacc::SplCache& use_cache() { return _cache; }
    sacc::SplFileMgr& use_file_mgr() { return _file_mgr.use_mgr(); }
    // Writes all that is recorded and reads all that is asked for, outside of a pass.
    void run_slices();
    long count_requested_cells() const; // that the next slices will read
    long long get_nbr_slices() const { return _nbr_slices; }

private:
    Size _size;
    long long _nbr_slices = 0;
    sys::Mutex _mutex_bkg;
    sys::Mutex _mutex_rt{sys::Mutex::Inheriting()};
    SampleFileMgr _file_mgr;
    sacc::SplCache _cache{_mutex_rt, _mutex_bkg, _file_mgr.use_mgr()};
};

} // namespace ulk::host::engine
