// The slices of the sample cache's background side: all traffic between cells and disk.

#include "ulk/sacc/SplCache.h"
#include "ulk/sys/CritSec.h"
#include "ulk/udbg/log.h"

namespace ulk::sacc {

bool SplCache::do_run_slice() {
    check_cells_write();
    return check_cells_read();
}

void SplCache::check_cells_write() {
    sys::CritSec crit_bkg(_mutex_bkg);
    long index = -1;
    Transfer transfer;
    while (start_write_transfer(index, transfer)) {
        DescPtr desc;
        if (_file_pool.find_file(transfer.file_id, desc)) {
            // A failure is noted alone: the cell is needed back in any case.
            if (desc->use_handle().write_block(transfer.data,
                                               desc->compute_block_pos(transfer.block_index),
                                               transfer.len) != 0) {
                desc->add_lost_block();
            }
        } else {
            ULK_LOG(ERROR, "check_cells_write(): Unknown file id %1%", transfer.file_id);
        }
        give_back_rec_cell(index);
    }
}

// The first full cell of a recording, if there is one.
bool SplCache::start_write_transfer(long& index, Transfer& transfer) {
    sys::CritSec crit_rt(_mutex_rt);
    index = _cell_list_rec_used.get_head_index();
    if (index < 0 || use_cell(index).get_status() != SplCacheCell::Status_FULL) {
        return false;
    }
    transfer = start_transfer_no_lock(use_cell(index));
    _cell_list_rec_used.move_to_back(index, use_cells());
    return true;
}

SplCache::Transfer SplCache::start_transfer_no_lock(SplCacheCell& cell) {
    cell.start_transfer();
    return {cell.use_data(), cell.get_file_id(), cell.get_block_index(), cell.get_content_len()};
}

void SplCache::give_back_rec_cell(long index) {
    sys::CritSec crit_rt(_mutex_rt);
    use_cell(index).free_cell();
    _cell_list_rec_used.remove(index, use_cells());
    _cell_list_rec_free.push_front(index, use_cells());
}

bool SplCache::check_cells_read() {
    sys::CritSec crit_bkg(_mutex_bkg);
    long read_len = 0;
    long const nbr_cells = static_cast<long>(use_cells().size());
    for (long index = 0; index < nbr_cells; ++index) {
        Transfer transfer;
        if (start_read_transfer(index, transfer)) {
            read_len += load_cell(index, transfer);
            if (read_len >= _max_samples_read_per_pass) {
                return true;
            }
        }
    }
    return false;
}

bool SplCache::start_read_transfer(long index, Transfer& transfer) {
    SplCacheCell& cell = use_cell(index);
    sys::CritSec crit_rt(_mutex_rt);
    if (cell.get_type() == SplCacheCell::Type_REC ||
        cell.get_status() != SplCacheCell::Status_REQUESTED) {
        return false;
    }
    transfer = start_transfer_no_lock(cell);
    refresh_cell(index);
    return true;
}

// After a failed read the cell stays in transfer and shows as a hole until it is evicted.
long SplCache::load_cell(long index, Transfer const& transfer) {
    DescPtr desc;
    if (!_file_pool.find_file(transfer.file_id, desc)) {
        ULK_LOG(ERROR, "check_cells_read(): Unknown file id %1%", transfer.file_id);
        return 0;
    }
    int const ret = desc->use_handle().read_block(
        transfer.data, desc->compute_block_pos(transfer.block_index), transfer.len);
    if (ret == 0) {
        SplCacheCell& cell = use_cell(index);
        sys::CritSec crit_rt(_mutex_rt);
        // Within the read the cell may have been taken for another block, or another file's.
        if (cell.get_file_id() == transfer.file_id &&
            cell.get_block_index() == transfer.block_index &&
            cell.get_status() == SplCacheCell::Status_TRANSFER) {
            cell.signal_load_complete();
        } else {
            crit_rt.leave();
            ULK_LOG(WARNING, "check_cells_read(): too few cells!");
        }
    }
    return transfer.len;
}

bool SplCache::check_cell_list_rec_used() const {
    for (long index = _cell_list_rec_used.get_head_index(); index >= 0;
         index = use_cell(index).get_next_cell()) {
        if (use_cell(index).get_status() == SplCacheCell::Status_FREE) {
            return false;
        }
    }
    return true;
}

} // namespace ulk::sacc
