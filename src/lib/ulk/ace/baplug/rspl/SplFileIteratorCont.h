#pragma once

#include "ulk/archi/types.h"
#include "ulk/sacc/SplCacheIteratorRead.h"

namespace ulk::ace::baplug::rspl {

// Walks a range of frames of a sample as blocks without gaps between them, each of them cached or a
// hole. Drives the cache's iterator, which stays the caller's. The last block may reach beyond the
// range. All real-time.
class SplFileIteratorCont {
public:
    explicit SplFileIteratorCont(sacc::SplCacheIteratorRead& it); // the iterator's own range
    // start: frame, may be negative. len: frames.
    SplFileIteratorCont(sacc::SplCacheIteratorRead& it, archi::Int64 start, long len);
    virtual ~SplFileIteratorCont() = default;

    bool is_rem_elt() const { return _block_pos < _len; }
    bool is_block_cached() const { return _cached_flag; }
    long get_block_pos() const { return _block_pos; } // in the range
    long get_block_len() const { return _block_len; }
    archi::Int64 get_block_pos_in_file() const { return _start + _block_pos; }
    // Of a cached block.
    long get_block_pos_in_cell() const { return _it_ptr->get_data_pos_cell(); }
    sacc::SplCacheCell const& use_cell() const { return _it_ptr->use_cell(); }
    void iterate();
    void setup_new_block(); // finds the block at get_block_pos()

private:
    sacc::SplCacheIteratorRead* _it_ptr;
    archi::Int64 _start;
    long _len;
    long _block_pos = 0;
    long _block_len = 0;
    bool _cached_flag = false;
};

} // namespace ulk::ace::baplug::rspl
