// The sample cache: memory, files, and what is asked of them from threads that may wait.

#include "ulk/sacc/SplCache.h"

#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplCacheStat.h"
#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sys/CritSec.h"
#include "ulk/sys/UtcTime.h"
#include "ulk/udbg/log.h"

#include <algorithm>

namespace ulk::sacc {

SplCache::SplCache(sys::Mutex& mutex_rt, sys::Mutex& mutex_bkg, SplFileMgr& file_mgr)
    : _file_mgr(file_mgr)
    , _mutex_bkg(mutex_bkg)
    , _mutex_rt(mutex_rt)
    , _mem_pool(mutex_rt)
    , _file_pool(mutex_rt) {}

int SplCache::set_memory(long normal_len, long rec_len, long cell_len) {
    sys::CritSec crit_bkg(_mutex_bkg);
    {
        sys::CritSec crit_rt(_mutex_rt);
        _cell_list_lru.clear();
        _cell_list_rec_free.clear();
        _cell_list_rec_used.clear();
    }
    _mem_pool.clear();
    int const ret = add_memory_internal(normal_len, rec_len, cell_len);
    if (ret == 0 && cell_len >= 1) {
        _cell_len = cell_len;
    }
    return ret;
}

int SplCache::add_memory(long normal_len, long rec_len) {
    sys::CritSec crit_bkg(_mutex_bkg);
    return add_memory_internal(normal_len, rec_len, _cell_len);
}

int SplCache::add_memory_internal(long normal_len, long rec_len, long cell_len) {
    if (cell_len < 1) {
        return 0;
    }
    long first_index = 0;
    long nbr_cells = 0;
    int const ret = _mem_pool.add_memory(normal_len + rec_len, cell_len, first_index, nbr_cells);
    if (ret != 0) {
        return ret;
    }
    long const nbr_rec = rec_len / cell_len;
    for (long i = 0; i < nbr_cells; ++i) {
        init_and_add_new_cell(first_index + i,
                              i < nbr_rec ? SplCacheCell::Type_REC : SplCacheCell::Type_NORMAL);
    }
    return 0;
}

void SplCache::init_and_add_new_cell(long index, SplCacheCell::Type type) {
    use_cell(index).init(type);
    sys::CritSec crit_rt(_mutex_rt);
    if (type == SplCacheCell::Type_NORMAL) {
        _cell_list_lru.push_front(index, use_cells());
    } else {
        _cell_list_rec_free.push_back(index, use_cells());
    }
}

// open_fnc: int (SplFileHnd&), opens or creates the file.
template <class OpenFnc>
int SplCache::open_any(SplCacheFileId& file_id, char const* pathname, bool rec_flag,
                       OpenFnc open_fnc) {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc = DescPtr::make();
    SplFileHnd& handle = desc->use_handle();
    int const ret = open_fnc(handle);
    if (ret != 0) {
        return ret;
    }
    if (handle.get_nbr_chn() < 1 || handle.get_nbr_chn() > _cell_len) {
        handle.close();
        return Err_OUT_OF_RANGE;
    }
    file_id = generate_new_id();
    desc->set_as_open(pathname, file_id, _cell_len, rec_flag);
    return _file_pool.add_file(desc);
}

int SplCache::open_file(SplCacheFileId& file_id, char const* pathname, bool write_flag) {
    try {
        return open_any(file_id, pathname, false, [&](SplFileHnd& handle) {
            return handle.open(_file_mgr, pathname, write_flag);
        });
    } catch (...) {
        ULK_LOG(ERROR, "open_file(): Exception while opening file \"%1%\".", pathname);
        return Err_EXCEPTION;
    }
}

int SplCache::create_file_new(SplCacheFileId& file_id, char const* pathname,
                              SplFileFmtDesc const& fmt) {
    try {
        return open_any(file_id, pathname, true, [&](SplFileHnd& handle) {
            return handle.create_new(_file_mgr, pathname, fmt, 0);
        });
    } catch (...) {
        ULK_LOG(ERROR, "create_file_new(): Exception for file \"%1%\".", pathname);
        return Err_EXCEPTION;
    }
}

int SplCache::create_file_copy(SplCacheFileId& file_id, char const* pathname,
                               SplFileExtData const& ext_data) {
    try {
        return open_any(file_id, pathname, false, [&](SplFileHnd& handle) {
            return handle.create_copy(_file_mgr, pathname, ext_data);
        });
    } catch (...) {
        ULK_LOG(ERROR, "create_file_copy(): Exception for file \"%1%\".", pathname);
        return Err_EXCEPTION;
    }
}

bool SplCache::is_file_existing(SplCacheFileId file_id) const {
    return _file_pool.find_file_rt(file_id) != nullptr;
}

void SplCache::list_open_files(std::vector<long>& id_list) const {
    sys::CritSec crit_bkg(_mutex_bkg);
    _file_pool.list_files(id_list);
}

void SplCache::collect_statistics(SplCacheStat& stat) const {
    stat.clear();
    sys::CritSec crit_bkg(_mutex_bkg);
    for (auto const& cell : use_cells()) {
        sys::CritSec crit_rt(_mutex_rt);
        stat.add_cell(*cell);
    }
}

} // namespace ulk::sacc
