#include "ulk/sacc/SplCacheFilePool.h"

#include "ulk/sacc/Err.h"
#include "ulk/sys/CritSec.h"
#include "ulk/udbg/log.h"

namespace ulk::sacc {

int SplCacheFilePool::add_file(DescPtr const& desc) {
    try {
        SplCacheFileId const file_id = desc->get_id();
        _file_map.start_transaction();
        _file_map.use_work().insert({file_id, desc});
        publish();
        return 0;
    } catch (...) {
        undo();
        ULK_LOG(ERROR, "add_file(): Exception.");
        return Err_EXCEPTION;
    }
}

int SplCacheFilePool::remove_file(SplCacheFileId file_id) {
    try {
        _file_map.start_transaction();
        if (_file_map.use_work().erase(file_id) == 0) {
            ULK_LOG(ERROR, "remove_file(): File not found (id %1%).", file_id);
            _file_map.rollback();
            return Err_FILE_NOT_FOUND_IN_POOL;
        }
        publish();
        return 0;
    } catch (...) {
        undo();
        ULK_LOG(ERROR, "remove_file(): Exception.");
        return Err_EXCEPTION;
    }
}

int SplCacheFilePool::clear() {
    try {
        _file_map.rollback();
        _file_map.clean();
        _file_map.start_transaction();
        _file_map.use_work().clear();
        publish();
        return 0;
    } catch (...) {
        undo();
        ULK_LOG(ERROR, "clear(): Exception.");
        return Err_EXCEPTION;
    }
}

bool SplCacheFilePool::find_file(SplCacheFileId file_id, DescPtr& desc) const {
    desc.reset();
    FileMap const& file_map = _file_map.use_cur();
    auto const pos = file_map.find(file_id);
    if (pos == file_map.end()) {
        return false;
    }
    desc = pos->second;
    return true;
}

SplCacheFileDesc* SplCacheFilePool::find_file_rt(SplCacheFileId file_id) const {
    FileMap const& file_map = _file_map.use_cur();
    auto const pos = file_map.find(file_id);
    return pos != file_map.end() ? pos->second.get() : nullptr;
}

void SplCacheFilePool::list_files(std::vector<long>& id_list) const {
    id_list.clear();
    for (auto const& file : _file_map.use_cur()) {
        id_list.push_back(file.first);
    }
}

void SplCacheFilePool::publish() {
    {
        sys::CritSec crit_rt(_mutex_rt);
        _file_map.commit_fast();
    }
    _file_map.clean();
}

// After an exception: back to the published table, or rid of the one that it replaced.
void SplCacheFilePool::undo() {
    _file_map.rollback();
    _file_map.clean();
}

} // namespace ulk::sacc
