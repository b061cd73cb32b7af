#pragma once

#include "ulk/archi/types.h"
#include "ulk/conc/Relaxed.h"
#include "ulk/sacc/SplCacheFileId.h"
#include "ulk/sacc/SplFileHnd.h"

#include <atomic>
#include <string>
#include <vector>

namespace ulk::sacc {

// What the cache knows of an open file: its facts, its handle, and which cell holds which block. A
// file read has one index a block; a recording has one index in all, that of the cell being
// filled, and forgets its blocks as they are written out.
class SplCacheFileDesc {
public:
    virtual ~SplCacheFileDesc() = default;

    // The handle is open. cell_len: floats, not less than the file's channels.
    void set_as_open(char const* pathname, SplCacheFileId id, long cell_len, bool rec_flag);
    void set_as_close();

    bool is_open() const { return _nbr_chn > 0; }
    std::string const& get_pathname() const { return _pathname; }
    SplCacheFileId get_id() const { return _id; }
    SplFileHnd& use_handle() { return _handle; }
    SplFileHnd const& use_handle() const { return _handle; }
    int get_nbr_chn() const { return _nbr_chn; }
    double get_sample_freq() const { return _sample_freq; } // Hz
    archi::Int64 get_length() const { return _length; }     // frames; grows during recording
    long get_block_frame_len() const { return _block_frame_len; }
    std::vector<long>& use_cell_index_list() { return _cell_index_list; }
    std::vector<long> const& use_cell_index_list() const { return _cell_index_list; }
    long get_rec_cell_index() const { return get_cell_index(0); }
    void set_rec_cell_index(long index) { set_cell_index(0, index); }

    // real-time. The cell of a block, -1 for none. Several threads may ask while one writes.
    long get_cell_index(long block_index) const;
    void set_cell_index(long block_index, long cell_index);

    // File position of a block's first frame.
    archi::Int64 compute_block_pos(long block_index) const {
        return static_cast<archi::Int64>(_block_frame_len) * block_index;
    }
    // File position behind len frames from pos on, cut to the range of 64 bits.
    static archi::Int64 compute_end(archi::Int64 pos, long len);
    // The blocks that cover len frames from pos on.
    void compute_block_covering(long& first, long& count, archi::Int64 pos, long len) const;
    // The same, without those that the index list does not have.
    void compute_block_covering_clamped(long& first, long& count, archi::Int64 pos, long len) const;

    // Blocks of a recording that could not be written.
    long get_nbr_lost_blocks() const { return _nbr_lost_blocks; }
    void add_lost_block() { ++_nbr_lost_blocks; }

    // real-time. Adds frames to a recording; true when that ended a block, which then has no cell.
    bool push_new_data(long len);

private:
    std::string _pathname;
    SplCacheFileId _id = -1;
    SplFileHnd _handle;
    conc::Relaxed<archi::Int64> _length = archi::Int64(-1);
    double _sample_freq = -1;
    long _block_frame_len = -1;
    int _nbr_chn = -1;
    bool _rec_flag = false;
    long _nbr_lost_blocks = 0;
    std::vector<long> _cell_index_list; // never resized while the file is published
};

inline long SplCacheFileDesc::get_cell_index(long block_index) const {
    // atomic_ref takes no reference to const before C++26.
    auto& list = const_cast<std::vector<long>&>(_cell_index_list);
    return std::atomic_ref<long>(list[static_cast<std::size_t>(block_index)])
        .load(std::memory_order_relaxed);
}

inline void SplCacheFileDesc::set_cell_index(long block_index, long cell_index) {
    std::atomic_ref<long>(_cell_index_list[static_cast<std::size_t>(block_index)])
        .store(cell_index, std::memory_order_relaxed);
}

} // namespace ulk::sacc
