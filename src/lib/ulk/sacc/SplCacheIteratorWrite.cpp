#include "ulk/sacc/SplCacheIteratorWrite.h"

#include "ulk/sacc/SplCache.h"
#include "ulk/sacc/SplCacheFileDesc.h"

#include <algorithm>

namespace ulk::sacc {

archi::Int64 SplCacheIteratorWrite::get_data_pos_file() const {
    return std::max(_cell_pos, _frame_pos);
}

long SplCacheIteratorWrite::get_data_pos_cell() const {
    return static_cast<long>(std::max(_frame_pos - _cell_pos, archi::Int64(0)));
}

long SplCacheIteratorWrite::get_data_len() const {
    archi::Int64 const end =
        std::min(_frame_pos + _frame_len, _cell_pos + _cell_ptr->get_content_len());
    return static_cast<long>(end - get_data_pos_file());
}

void SplCacheIteratorWrite::iterate() {
    ++_block_index;
    --_nbr_rem_blocks;
    if (_nbr_rem_blocks > 0) {
        find_cur_cell();
    }
}

void SplCacheIteratorWrite::clear(archi::Int64 pos, long len) {
    _nbr_rem_blocks = 0;
    _frame_pos = pos;
    _frame_len = len;
}

bool SplCacheIteratorWrite::find_cur_cell() {
    long nbr_added = 0;
    SplCacheCell* const cell_ptr = _cache_ptr->update_or_reserve_rec_cell(
        *_desc_ptr, _block_index, _frame_pos + _frame_len, nbr_added);
    if (cell_ptr == nullptr) {
        _block_index += _nbr_rem_blocks;
        _nbr_rem_blocks = 0;
        return false;
    }
    _cell_ptr = cell_ptr;
    _cell_pos = _desc_ptr->compute_block_pos(_block_index);
    _desc_ptr->push_new_data(nbr_added);
    return true;
}

void SplCacheIteratorWrite::start_write(long len, SplCacheFileDesc& desc, SplCache& cache) {
    _frame_pos = desc.get_length();
    _frame_len = len;
    _desc_ptr = &desc;
    _cache_ptr = &cache;
    _cell_ptr = nullptr;
    desc.compute_block_covering(_block_index, _nbr_rem_blocks, _frame_pos, len);
    if (_nbr_rem_blocks > 0) {
        find_cur_cell();
    }
}

} // namespace ulk::sacc
