#pragma once

#include "ulk/archi/types.h"
#include "ulk/sacc/SplCacheCell.h"

namespace ulk::sacc {

class SplCache;
class SplCacheFileDesc;

// Walks the cells where a caller writes the frames that it appends to a recording, and reserves
// them as it goes; it ends early when there are none left. Owned by the caller, filled in by the
// cache. Belongs to one thread and one real-time pass. All real-time.
class SplCacheIteratorWrite {
public:
    SplCacheIteratorWrite() = default;
    virtual ~SplCacheIteratorWrite() = default;
    SplCacheIteratorWrite(SplCacheIteratorWrite const&) = default;
    SplCacheIteratorWrite& operator=(SplCacheIteratorWrite const&) = default;

    archi::Int64 get_frame_pos() const { return _frame_pos; } // where the push began in the file
    long get_frame_len() const { return _frame_len; }

    bool is_rem_elt() const { return _nbr_rem_blocks > 0; } // there is a current cell
    SplCacheCell& use_cell() { return *_cell_ptr; }         // the pool's own
    SplCacheCell const& use_cell() const { return *_cell_ptr; }
    archi::Int64 get_data_pos_file() const; // first frame to write in the cell
    long get_data_pos_cell() const;         // the same, from the cell's first frame
    long get_data_len() const;              // frames to write in the cell
    void iterate();

    void clear() { clear(-1, -1); }
    void clear(archi::Int64 pos, long len);

    // Reserves the cell of the block now current; the walk ends when there is none.
    bool find_cur_cell();

    // For the cache.
    void start_write(long len, SplCacheFileDesc& desc, SplCache& cache);

private:
    archi::Int64 _frame_pos = -1;
    long _frame_len = -1;
    long _block_index = -1;
    long _nbr_rem_blocks = -1; // the current one included
    SplCacheFileDesc* _desc_ptr = nullptr;
    SplCache* _cache_ptr = nullptr;
    SplCacheCell* _cell_ptr = nullptr;
    archi::Int64 _cell_pos = -1; // file position of the cell's first frame
};

} // namespace ulk::sacc
