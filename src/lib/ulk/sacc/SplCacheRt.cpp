// The real-time side of the sample cache.

#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplCache.h"
#include "ulk/sacc/SplCacheIteratorRead.h"
#include "ulk/sacc/SplCacheIteratorWrite.h"
#include "ulk/sys/CritSec.h"
#include "ulk/udbg/log.h"

namespace ulk::sacc {

int SplCache::do_prefetch_data(SplCacheFileId file_id, archi::Int64 pos, long len) {
    SplCacheFileDesc* const desc_ptr = _file_pool.find_file_rt(file_id);
    if (desc_ptr == nullptr) {
        ULK_LOG_CACHE(ERROR, "prefetch_data(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    archi::Int64 const file_len = desc_ptr->get_length();
    archi::Int64 const end = SplCacheFileDesc::compute_end(pos, len);
    if (end > file_len) {
        ULK_LOG_CACHE(ERROR, "prefetch_data(): End position %1% is out file (id %2%, len %3%)", end,
                      file_id, file_len);
        return Err_OUT_OF_RANGE;
    }
    long first = 0;
    long count = 0;
    desc_ptr->compute_block_covering_clamped(first, count, pos, len);
    bool all_flag = true;
    {
        sys::CritSec crit_read(_mutex_read);
        for (long block = first; block < first + count; ++block) {
            all_flag &= request_block(*desc_ptr, block);
        }
    }
    if (!all_flag) {
        ULK_LOG_CACHE(WARNING,
                      "prefetch_data(): Not enough available cell to prefetch all data for file "
                      "\"%1%\"",
                      desc_ptr->get_pathname().c_str());
    }
    return 0;
}

// Refreshes the block's cell, or gives it one. False when there is none to give.
bool SplCache::request_block(SplCacheFileDesc& desc, long block_index) {
    long const present = desc.get_cell_index(block_index);
    if (present >= 0) {
        refresh_cell(present);
        return true;
    }
    long const index = free_and_use_lru_cell();
    if (index < 0) {
        return false;
    }
    use_cell(index).request_data(false, desc.get_id(), block_index, desc.get_nbr_chn(),
                                 desc.get_length());
    desc.set_cell_index(block_index, index);
    return true;
}

int SplCache::do_get_data(SplCacheFileId file_id, archi::Int64 pos, long len,
                          SplCacheIteratorRead& it) {
    SplCacheFileDesc* const desc_ptr = _file_pool.find_file_rt(file_id);
    if (desc_ptr == nullptr) {
        ULK_LOG_CACHE(ERROR, "get_data(): Unknown file id %1%", file_id);
        it.clear(pos, len);
        return Err_FILE_ID_UNKNOWN;
    }
    it.start_read(pos, len, *desc_ptr, *this);
    return 0;
}

int SplCache::do_push_data(SplCacheFileId file_id, long len, SplCacheIteratorWrite& it) {
    SplCacheFileDesc* const desc_ptr = _file_pool.find_file_rt(file_id);
    if (desc_ptr == nullptr) {
        ULK_LOG_CACHE(ERROR, "push_data(): Unknown file id %1%", file_id);
        it.clear();
        return Err_FILE_ID_UNKNOWN;
    }
    it.start_write(len, *desc_ptr, *this);
    return 0;
}

void SplCache::signal_cell_read(long index) {
    sys::CritSec crit_read(_mutex_read);
    signal_cell_read_no_lock(index);
}

bool SplCache::copy_cell_if_full(SplCacheCell& cell, long index) const {
    sys::CritSec crit_read(_mutex_read);
    return copy_cell_if_full_no_lock(cell, index);
}

bool SplCache::signal_and_copy_cell(SplCacheCell& cell, long index) {
    sys::CritSec crit_read(_mutex_read);
    signal_cell_read_no_lock(index);
    return copy_cell_if_full_no_lock(cell, index);
}

void SplCache::signal_cell_read_no_lock(long index) {
    use_cell(index).signal_read();
    refresh_cell(index);
}

bool SplCache::copy_cell_if_full_no_lock(SplCacheCell& cell, long index) const {
    SplCacheCell const& src = use_cell(index);
    if (src.get_status() != SplCacheCell::Status_FULL) {
        return false;
    }
    cell = src;
    return true;
}

SplCacheCell* SplCache::update_or_reserve_rec_cell(SplCacheFileDesc& desc, long block_index,
                                                   archi::Int64 end_pos, long& nbr_added) {
    nbr_added = 0;
    sys::CritSec crit_rec(_mutex_rec);
    long index = desc.get_rec_cell_index();
    if (index >= 0) {
        SplCacheCell& cell = use_cell(index);
        nbr_added = cell.extend_rec(end_pos);
        if (cell.get_status() == SplCacheCell::Status_FULL) {
            _cell_list_rec_used.move_to_front(index, use_cells());
        }
        return &cell;
    }
    if (_cell_list_rec_free.is_empty()) {
        crit_rec.leave();
        ULK_LOG_CACHE(ERROR, "update_or_reserve_rec_cell(): Not enough free memory.");
        return nullptr;
    }
    index = _cell_list_rec_free.pop_front(use_cells());
    desc.set_rec_cell_index(index);
    SplCacheCell& cell = use_cell(index);
    nbr_added = cell.start_rec(desc.get_id(), block_index, desc.get_nbr_chn(), end_pos);
    if (cell.get_status() == SplCacheCell::Status_FULL) {
        _cell_list_rec_used.push_front(index, use_cells());
    } else {
        _cell_list_rec_used.push_back(index, use_cells());
    }
    return &cell;
}

SplCacheCell& SplCache::use_cell(long index) const {
    return *use_cells()[static_cast<std::size_t>(index)];
}

void SplCache::refresh_cell(long index) {
    if (use_cell(index).get_type() == SplCacheCell::Type_NORMAL) {
        _cell_list_lru.move_to_back(index, use_cells());
    }
}

long SplCache::free_and_use_lru_cell() {
    if (_cell_list_lru.is_empty()) {
        return -1;
    }
    long const index = _cell_list_lru.get_head_index();
    _cell_list_lru.move_to_back(index, use_cells());
    free_normal_cell(index);
    return index;
}

// Detaches a cell from what it holds. Its file may be on its way out of the table already.
void SplCache::free_normal_cell(long index) {
    SplCacheCell& cell = use_cell(index);
    if (cell.get_status() != SplCacheCell::Status_FREE) {
        SplCacheFileDesc* const desc_ptr = _file_pool.find_file_rt(cell.get_file_id());
        if (desc_ptr != nullptr) {
            desc_ptr->set_cell_index(cell.get_block_index(), -1);
        }
        cell.free_cell();
    }
}

} // namespace ulk::sacc
