#pragma once

#include "ulk/sacc/SplCacheBkgInterface.h"
#include "ulk/sacc/SplCacheCellList.h"
#include "ulk/sacc/SplCacheFilePool.h"
#include "ulk/sacc/SplCacheMemPool.h"
#include "ulk/sacc/SplCacheRtInterface.h"
#include "ulk/sacc/SplFileBitFmt.h"
#include "ulk/sacc/SplFileFmt.h"
#include "ulk/sys/Mutex.h"

#include <vector>

namespace ulk::sys {
class UtcTime;
}

namespace ulk::sacc {

class SplCacheStat;
class SplFileExtData;
class SplFileFmtCustomInterface;
class SplFileFmtDesc;
class SplFileMgr;

// Keeps the sample data of open files in a fixed pool of memory cells, so that real-time threads
// read and record without touching a disk.
//
// There is no queue between the two sides: a prefetch marks cells as requested, the next slice of
// the background side finds them by that mark and loads them, and a later get_data() sees them.
// Recording cells that are full go out the other way.
//
// Four mutexes order the threads, the first two given by the owner:
//   mutex_bkg   every background operation, for its whole length, disk accesses included
//   mutex_rt    the background side, for each change of a cell or a list: a few list operations.
//               Whoever drives the real-time interface holds it for the length of each pass
//   own ones    the real-time threads among themselves, on normal and on recording cells
// mutex_bkg comes before mutex_rt. Neither may be the mutex of the SplFileMgr.
//
// All operations but the real-time interface are for threads that may wait, and give 0, an error
// of this library or one of the layers below. Lengths of memory are in floats, others in frames.
class SplCache : public SplCacheBkgInterface, public SplCacheRtInterface {
public:
    // None is owned; no memory yet. Files are closed by the owner before destruction, or what
    // still stands in recording cells is lost.
    SplCache(sys::Mutex& mutex_rt, sys::Mutex& mutex_bkg, SplFileMgr& file_mgr);

    SplCache(SplCache const&) = delete;
    SplCache& operator=(SplCache const&) = delete;

    // Throws all cells away and makes new ones of cell_len floats; no file may be open. What does
    // not make a whole cell is unused. A failure leaves the cache empty, as does a cell_len below
    // 1, and the former cell length stands.
    int set_memory(long normal_len, long rec_len, long cell_len);
    int add_memory(long normal_len, long rec_len); // at the present cell length
    // What both do, for a caller who holds mutex_bkg; the cell length of the cache stays.
    int add_memory_internal(long normal_len, long rec_len, long cell_len);

    // An existing file. file_id is not touched when the file cannot be opened. Err_OUT_OF_RANGE for
    // a file whose frame does not fit a cell.
    int open_file(SplCacheFileId& file_id, char const* pathname, bool write_flag);
    // A file for recording through push_data(); to be read, it is closed and opened again.
    int create_file_new(SplCacheFileId& file_id, char const* pathname, SplFileFmtDesc const& fmt);
    int create_file_copy(SplCacheFileId& file_id, char const* pathname,
                         SplFileExtData const& ext_data);
    int validate_new_data(SplCacheFileId file_id); // brings the headers on disk up to date
    int close_file(SplCacheFileId file_id);        // writes out what was recorded

    // The id after the last one, which is spent by that; for a caller who holds mutex_bkg.
    SplCacheFileId generate_new_id() { return ++_last_file_id; }

    // Pins a range, as far as there are cells; unpins all of a file; has a range read again.
    int lock_data(SplCacheFileId file_id, archi::Int64 pos, long len);
    int unlock_data(SplCacheFileId file_id);
    int invalidate_data(SplCacheFileId file_id, archi::Int64 pos, long len);

    // The out arguments are not touched on failure. The length counts the frames pushed so far.
    int get_length(SplCacheFileId file_id, archi::Int64& len) const;
    // Blocks of a recording that the disk refused so far; in the file, zeros stand for them.
    int get_nbr_lost_blocks(SplCacheFileId file_id, long& nbr_blocks) const;
    int get_nbr_chn(SplCacheFileId file_id, int& nbr_chn) const;
    int get_sample_freq(SplCacheFileId file_id, double& sample_freq) const;
    int get_sample_format(SplCacheFileId file_id, SplFileBitFmt& bit_fmt) const;
    int get_file_format(SplCacheFileId file_id, SplFileFmt& file_fmt) const;
    int get_data_provider(SplCacheFileId file_id, SplFileFmtCustomInterface*& provider_ptr);
    int read_ext_data(SplCacheFileId file_id, SplFileExtData& ext_data);
    int get_dates(SplCacheFileId file_id, sys::UtcTime& creation, sys::UtcTime& modification) const;
    int set_dates(SplCacheFileId file_id, sys::UtcTime const& creation,
                  sys::UtcTime const& modification);
    // Takes no lock: for threads that also open and close the files, or within a pass.
    bool is_file_existing(SplCacheFileId file_id) const;
    void list_open_files(std::vector<long>& id_list) const; // ascending; replaces the list
    void collect_statistics(SplCacheStat& stat) const;

    // SplCacheBkgInterface
    bool do_run_slice() override;

    static constexpr long _max_samples_read_per_pass = 6144000; // frames of a slice
    static constexpr long _default_cell_len = 16384;

    // For the iterators. All real-time.
    void signal_cell_read(long index);
    bool copy_cell_if_full(SplCacheCell& cell, long index) const;
    bool signal_and_copy_cell(SplCacheCell& cell, long index); // both, under one lock
    SplCacheCell* update_or_reserve_rec_cell(SplCacheFileDesc& desc, long block_index,
                                             archi::Int64 end_pos, long& nbr_added);

protected:
    // SplCacheRtInterface
    int do_prefetch_data(SplCacheFileId file_id, archi::Int64 pos, long len) override;
    int do_get_data(SplCacheFileId file_id, archi::Int64 pos, long len,
                    SplCacheIteratorRead& it) override;
    int do_push_data(SplCacheFileId file_id, long len, SplCacheIteratorWrite& it) override;

private:
    friend class SplCacheProbe; // shows the inside to the tests

    using DescPtr = SplCacheFilePool::DescPtr;
    using CellVect = SplCacheCellList::CellVect;

    // A cell's content as noted under the real-time mutex, for the disk access outside of it.
    struct Transfer {
        float* data;
        SplCacheFileId file_id;
        long block_index;
        long len; // frames
    };

    void init_and_add_new_cell(long index, SplCacheCell::Type type);
    template <class OpenFnc>
    int open_any(SplCacheFileId& file_id, char const* pathname, bool rec_flag, OpenFnc open_fnc);

    // For a caller who holds the lock that orders the cells: a pass's, or mutex_rt.
    SplCacheCell& use_cell(long index) const;
    CellVect const& use_cells() const { return _mem_pool.use_cell_list(); }
    void signal_cell_read_no_lock(long index);
    bool copy_cell_if_full_no_lock(SplCacheCell& cell, long index) const;
    void refresh_cell(long index);
    void free_normal_cell(long index);
    long free_and_use_lru_cell(); // -1 when there is none
    bool request_block(SplCacheFileDesc& desc, long block_index);

    void check_cells_write();
    bool check_cells_read();
    bool start_write_transfer(long& index, Transfer& transfer);
    bool start_read_transfer(long index, Transfer& transfer);
    long load_cell(long index, Transfer const& transfer); // frames that count for the budget
    void give_back_rec_cell(long index);
    Transfer start_transfer_no_lock(SplCacheCell& cell);
    bool check_cell_list_rec_used() const;

    void flush_rec_cells(SplCacheFileDesc& desc);
    long find_rec_cell(SplCacheFileId file_id, long& pos, Transfer& transfer);
    void free_cells_of_file(SplCacheFileId file_id);
    void unlock_cells(SplCacheFileDesc& desc);
    bool lock_block(SplCacheFileDesc& desc, long block_index);
    void invalidate_block(SplCacheFileDesc& desc, long block_index);

    SplFileMgr& _file_mgr;
    sys::Mutex& _mutex_bkg;
    sys::Mutex& _mutex_rt;
    mutable sys::Mutex _mutex_read;
    sys::Mutex _mutex_rec;
    SplCacheMemPool _mem_pool;
    SplCacheFilePool _file_pool;
    SplCacheCellList _cell_list_lru;      // normal cells, least recently used at the head
    SplCacheCellList _cell_list_rec_free; // recording cells without content
    SplCacheCellList _cell_list_rec_used; // full ones towards the head, filling ones at the back
    long _cell_len = _default_cell_len;
    SplCacheFileId _last_file_id = 0;
};

} // namespace ulk::sacc
