#pragma once

#include "ulk/conc/BufferizedObj.h"
#include "ulk/mem/SharedPtr.h"
#include "ulk/sacc/SplCacheFileDesc.h"

#include <map>
#include <vector>

namespace ulk::sys {
class Mutex;
}

namespace ulk::sacc {

// The table of the open files. The background side changes a copy and swaps it in under the
// real-time mutex; everything that allocates or frees happens outside of it. The caller puts the
// background operations in a row.
class SplCacheFilePool {
public:
    using DescPtr = mem::SharedPtr<SplCacheFileDesc>;

    explicit SplCacheFilePool(sys::Mutex& mutex_rt)
        : _mutex_rt(mutex_rt) {} // not owned
    virtual ~SplCacheFilePool() = default;

    SplCacheFilePool(SplCacheFilePool const&) = delete;
    SplCacheFilePool& operator=(SplCacheFilePool const&) = delete;

    int add_file(DescPtr const& desc);       // 0 or Err_EXCEPTION
    int remove_file(SplCacheFileId file_id); // also Err_FILE_NOT_FOUND_IN_POOL
    int clear();
    bool find_file(SplCacheFileId file_id, DescPtr& desc) const; // empty when not found
    void list_files(std::vector<long>& id_list) const;           // ascending; replaces the list

    // real-time, within a pass: the pointer is good until the pass ends. Null when not found.
    SplCacheFileDesc* find_file_rt(SplCacheFileId file_id) const;

private:
    using FileMap = std::map<SplCacheFileId, DescPtr>;

    void publish();
    void undo();

    sys::Mutex& _mutex_rt;
    conc::BufferizedObj<FileMap> _file_map;
};

} // namespace ulk::sacc
