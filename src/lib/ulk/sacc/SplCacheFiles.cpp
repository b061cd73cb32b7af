// The sample cache's operations on one open file, for threads that may wait.

#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplCache.h"
#include "ulk/sys/CritSec.h"
#include "ulk/sys/UtcTime.h"
#include "ulk/udbg/log.h"

namespace ulk::sacc {

int SplCache::validate_new_data(SplCacheFileId file_id) {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "validate_new_data(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    return desc->use_handle().validate_new_data();
}

int SplCache::close_file(SplCacheFileId file_id) {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "close_file(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    if (desc->use_handle().is_len_fixed()) {
        unlock_cells(*desc);
    }
    int const ret = _file_pool.remove_file(file_id);
    if (ret != 0) {
        return ret;
    }
    flush_rec_cells(*desc);
    free_cells_of_file(file_id);
    int const close_ret = desc->use_handle().close();
    desc->set_as_close();
    return close_ret;
}

// Writes out the recording cells of a file that is not in the table any more, the last, partly
// filled one too.
void SplCache::flush_rec_cells(SplCacheFileDesc& desc) {
    long pos = -1;
    {
        sys::CritSec crit_rt(_mutex_rt);
        pos = _cell_list_rec_used.get_head_index();
    }
    while (pos >= 0) {
        Transfer transfer;
        long const index = find_rec_cell(desc.get_id(), pos, transfer);
        if (index >= 0) {
            // As in the slices, the cell is needed back whatever the result.
            desc.use_handle().write_block(
                transfer.data, desc.compute_block_pos(transfer.block_index), transfer.len);
            give_back_rec_cell(index);
        }
    }
}

// Goes along the list of used recording cells from pos on, but a few steps at a time so that a
// pass never waits for long, and takes the first cell of the file. -1 when it met none.
long SplCache::find_rec_cell(SplCacheFileId file_id, long& pos, Transfer& transfer) {
    constexpr int max_steps = 16;
    sys::CritSec crit_rt(_mutex_rt);
    for (int step = 0; step < max_steps && pos >= 0; ++step) {
        long const index = pos;
        SplCacheCell& cell = use_cell(index);
        pos = cell.get_next_cell(); // before the cell moves
        if (cell.get_file_id() == file_id) {
            transfer = start_transfer_no_lock(cell);
            _cell_list_rec_used.move_to_back(index, use_cells());
            return index;
        }
    }
    return -1;
}

// The cells become the next to be taken.
void SplCache::free_cells_of_file(SplCacheFileId file_id) {
    long const nbr_cells = static_cast<long>(use_cells().size());
    for (long index = 0; index < nbr_cells; ++index) {
        sys::CritSec crit_rt(_mutex_rt);
        SplCacheCell& cell = use_cell(index);
        if (cell.get_status() != SplCacheCell::Status_FREE && cell.get_file_id() == file_id) {
            SplCacheCell::Type const type = cell.get_type();
            cell.free_cell();
            if (type == SplCacheCell::Type_NORMAL) {
                _cell_list_lru.remove(index, use_cells());
            }
            _cell_list_lru.push_front(index, use_cells());
        }
    }
}

int SplCache::lock_data(SplCacheFileId file_id, archi::Int64 pos, long len) {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "lock_data(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    char const* const pathname = desc->get_pathname().c_str();
    if (!desc->use_handle().is_len_fixed()) {
        ULK_LOG(ERROR, "lock_data(): File \"%1%\" cannot have its data locked.", pathname);
        return Err_LEN_NOT_FIXED;
    }
    archi::Int64 const file_len = desc->get_length();
    archi::Int64 const end = SplCacheFileDesc::compute_end(pos, len);
    if (end > file_len) {
        ULK_LOG(ERROR,
                "lock_data(): Requested data is out of range (block end: %2%, file len: %3%, file "
                "\"%1%\").",
                pathname, end, file_len);
        return Err_OUT_OF_RANGE;
    }
    long first = 0;
    long count = 0;
    desc->compute_block_covering_clamped(first, count, pos, len);
    bool all_flag = true;
    for (long block = first; block < first + count; ++block) {
        sys::CritSec crit_rt(_mutex_rt);
        all_flag &= lock_block(*desc, block);
    }
    if (!all_flag) {
        ULK_LOG(WARNING, "lock_data(): Not enough available cell to lock all data for file \"%1%\"",
                pathname);
    }
    return 0;
}

// False when the block has no cell and there is none to give.
bool SplCache::lock_block(SplCacheFileDesc& desc, long block_index) {
    long index = desc.get_cell_index(block_index);
    if (index >= 0) {
        if (use_cell(index).get_type() == SplCacheCell::Type_NORMAL) {
            _cell_list_lru.remove(index, use_cells());
            use_cell(index).lock();
        }
        return true;
    }
    if (_cell_list_lru.is_empty()) {
        return false;
    }
    index = _cell_list_lru.pop_front(use_cells());
    free_normal_cell(index);
    use_cell(index).request_data(true, desc.get_id(), block_index, desc.get_nbr_chn(),
                                 desc.get_length());
    desc.set_cell_index(block_index, index);
    return true;
}

int SplCache::unlock_data(SplCacheFileId file_id) {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "unlock_data(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    if (!desc->use_handle().is_len_fixed()) {
        ULK_LOG(ERROR, "unlock_data(): File \"%1%\" cannot have its data unlocked.",
                desc->get_pathname().c_str());
        return Err_LEN_NOT_FIXED;
    }
    unlock_cells(*desc);
    return 0;
}

// The cells keep their content, and are the last to be evicted.
void SplCache::unlock_cells(SplCacheFileDesc& desc) {
    long const nbr_blocks = static_cast<long>(desc.use_cell_index_list().size());
    for (long block = 0; block < nbr_blocks; ++block) {
        sys::CritSec crit_rt(_mutex_rt);
        long const index = desc.get_cell_index(block);
        if (index >= 0 && use_cell(index).get_type() == SplCacheCell::Type_LOCKED) {
            use_cell(index).unlock();
            _cell_list_lru.push_back(index, use_cells());
        }
    }
}

int SplCache::invalidate_data(SplCacheFileId file_id, archi::Int64 pos, long len) {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "invalidate_data(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    char const* const pathname = desc->get_pathname().c_str();
    if (!desc->use_handle().is_len_fixed()) {
        ULK_LOG(ERROR, "invalidate_data(): File \"%1%\" cannot have its data invalidated.",
                pathname);
        return Err_LEN_NOT_FIXED;
    }
    archi::Int64 const file_len = desc->get_length();
    archi::Int64 const end = SplCacheFileDesc::compute_end(pos, len);
    if (end > file_len) {
        ULK_LOG(ERROR,
                "invalidate_data(): Requested data is out of range (block end: %2%, file len: %3%, "
                "file \"%1%\").",
                pathname, end, file_len);
        return Err_OUT_OF_RANGE;
    }
    long first = 0;
    long count = 0;
    desc->compute_block_covering_clamped(first, count, pos, len);
    for (long block = first; block < first + count; ++block) {
        sys::CritSec crit_rt(_mutex_rt);
        invalidate_block(*desc, block);
    }
    return 0;
}

// With the background mutex held no read is running: a cell in transfer is one whose read failed,
// and stays a hole.
void SplCache::invalidate_block(SplCacheFileDesc& desc, long block_index) {
    long const index = desc.get_cell_index(block_index);
    if (index >= 0 && use_cell(index).get_status() != SplCacheCell::Status_TRANSFER) {
        bool const lock_flag = use_cell(index).get_type() == SplCacheCell::Type_LOCKED;
        use_cell(index).request_data(lock_flag, desc.get_id(), block_index, desc.get_nbr_chn(),
                                     desc.get_length());
    }
}

int SplCache::get_length(SplCacheFileId file_id, archi::Int64& len) const {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "get_length(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    len = desc->get_length();
    return 0;
}

int SplCache::get_nbr_lost_blocks(SplCacheFileId file_id, long& nbr_blocks) const {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "get_nbr_lost_blocks(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    nbr_blocks = desc->get_nbr_lost_blocks();
    return 0;
}

int SplCache::get_nbr_chn(SplCacheFileId file_id, int& nbr_chn) const {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "get_nbr_chn(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    nbr_chn = desc->get_nbr_chn();
    return 0;
}

int SplCache::get_sample_freq(SplCacheFileId file_id, double& sample_freq) const {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "get_sample_freq(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    sample_freq = desc->get_sample_freq();
    return 0;
}

int SplCache::get_sample_format(SplCacheFileId file_id, SplFileBitFmt& bit_fmt) const {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "get_sample_format(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    bit_fmt = desc->use_handle().get_sample_format();
    return 0;
}

int SplCache::get_file_format(SplCacheFileId file_id, SplFileFmt& file_fmt) const {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "get_file_format(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    file_fmt = desc->use_handle().get_file_format();
    return 0;
}

int SplCache::get_data_provider(SplCacheFileId file_id, SplFileFmtCustomInterface*& provider_ptr) {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "get_data_provider(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    provider_ptr = desc->use_handle().get_data_provider();
    return 0;
}

int SplCache::read_ext_data(SplCacheFileId file_id, SplFileExtData& ext_data) {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "read_ext_data(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    return desc->use_handle().read_ext_data(ext_data);
}

int SplCache::get_dates(SplCacheFileId file_id, sys::UtcTime& creation,
                        sys::UtcTime& modification) const {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "get_dates(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    return desc->use_handle().get_dates(creation, modification);
}

int SplCache::set_dates(SplCacheFileId file_id, sys::UtcTime const& creation,
                        sys::UtcTime const& modification) {
    sys::CritSec crit_bkg(_mutex_bkg);
    DescPtr desc;
    if (!_file_pool.find_file(file_id, desc)) {
        ULK_LOG(ERROR, "set_dates(): Unknown file id %1%", file_id);
        return Err_FILE_ID_UNKNOWN;
    }
    return desc->use_handle().set_dates(creation, modification);
}

} // namespace ulk::sacc
