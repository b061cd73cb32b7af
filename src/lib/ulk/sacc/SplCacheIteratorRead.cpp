#include "ulk/sacc/SplCacheIteratorRead.h"

#include "ulk/sacc/SplCache.h"
#include "ulk/sacc/SplCacheFileDesc.h"

#include <algorithm>

namespace ulk::sacc {

archi::Int64 SplCacheIteratorRead::get_data_pos_file() const {
    return std::max(_cell_pos, _frame_pos);
}

long SplCacheIteratorRead::get_data_pos_cell() const {
    return static_cast<long>(std::max(_frame_pos - _cell_pos, archi::Int64(0)));
}

long SplCacheIteratorRead::get_data_len() const {
    archi::Int64 const end = std::min(_frame_pos + _frame_len, _cell_pos + _cell.get_content_len());
    return static_cast<long>(end - get_data_pos_file());
}

void SplCacheIteratorRead::iterate() {
    ++_block_index;
    --_nbr_rem_blocks;
    find_cur_cell();
}

void SplCacheIteratorRead::clear(archi::Int64 pos, long len) {
    _nbr_rem_blocks = 0;
    _frame_pos = pos;
    _frame_len = len;
}

bool SplCacheIteratorRead::find_cur_cell() {
    while (_nbr_rem_blocks > 0) {
        long const cell_index = _desc_ptr->get_cell_index(_block_index);
        if (take_cur_block(cell_index >= 0 && _cache_ptr->copy_cell_if_full(_cell, cell_index))) {
            return true;
        }
    }
    return false;
}

void SplCacheIteratorRead::start_read(archi::Int64 pos, long len, SplCacheFileDesc& desc,
                                      SplCache& cache) {
    _frame_pos = pos;
    _frame_len = len;
    _desc_ptr = &desc;
    _cache_ptr = &cache;
    desc.compute_block_covering_clamped(_block_index, _nbr_rem_blocks, pos, len);
    if (_nbr_rem_blocks == 1) { // nearly always: the two passes are one
        long const cell_index = desc.get_cell_index(_block_index);
        take_cur_block(cell_index >= 0 && cache.signal_and_copy_cell(_cell, cell_index));
        return;
    }
    // Also what is not loaded yet stays fresh: a reader wants it.
    for (long block = _block_index; block < _block_index + _nbr_rem_blocks; ++block) {
        long const cell_index = desc.get_cell_index(block);
        if (cell_index >= 0) {
            cache.signal_cell_read(cell_index);
        }
    }
    find_cur_cell();
}

// Stays on the current block, or passes it over. Returns full_flag.
bool SplCacheIteratorRead::take_cur_block(bool full_flag) {
    if (full_flag) {
        _cell_pos = _desc_ptr->compute_block_pos(_block_index);
    } else {
        ++_block_index;
        --_nbr_rem_blocks;
    }
    return full_flag;
}

} // namespace ulk::sacc
