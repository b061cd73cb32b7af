#pragma once

#include "ulk/archi/types.h"
#include "ulk/sacc/SplCacheCell.h"

namespace ulk::sacc {

class SplCache;
class SplCacheFileDesc;

// Walks the cells, now full, that cover a range of a file, in ascending order; blocks that are not
// there are passed over, and show as a jump of get_data_pos_file(). Owned by the caller, filled in
// by the cache. Belongs to one thread and one real-time pass: after it neither the cell nor the
// floats behind it may be used. All real-time.
//
//     for (cache.get_data(id, pos, len, it); it.is_rem_elt(); it.iterate()) { ... }
//
// The floats of channel c of the cell's frame f stand at use_cell().use_data()[f * nbr_chn + c].
class SplCacheIteratorRead {
public:
    SplCacheIteratorRead() = default;
    virtual ~SplCacheIteratorRead() = default;
    SplCacheIteratorRead(SplCacheIteratorRead const&) = default;
    SplCacheIteratorRead& operator=(SplCacheIteratorRead const&) = default;

    archi::Int64 get_frame_pos() const { return _frame_pos; } // the range, as asked for
    long get_frame_len() const { return _frame_len; }

    bool is_rem_elt() const { return _nbr_rem_blocks > 0; } // there is a current cell
    SplCacheCell const& use_cell() const { return _cell; }  // a copy of its fields
    archi::Int64 get_data_pos_file() const;                 // first frame of interest in the cell
    long get_data_pos_cell() const;                         // the same, from the cell's first frame
    long get_data_len() const;                              // frames of interest in the cell
    void iterate();

    void clear() { clear(-1, -1); }
    void clear(archi::Int64 pos, long len);

    // Whether the block now current has a full cell, or one behind it.
    bool find_cur_cell();

    // For the cache.
    void start_read(archi::Int64 pos, long len, SplCacheFileDesc& desc, SplCache& cache);

private:
    bool take_cur_block(bool full_flag);

    archi::Int64 _frame_pos = -1;
    long _frame_len = -1;
    long _block_index = -1;
    long _nbr_rem_blocks = -1; // the current one included
    SplCacheFileDesc* _desc_ptr = nullptr;
    SplCache* _cache_ptr = nullptr;
    SplCacheCell _cell{nullptr, 0};
    archi::Int64 _cell_pos = -1; // file position of the cell's first frame
};

} // namespace ulk::sacc
