#include "ulk/sacc/SplCacheFileDesc.h"

#include <algorithm>
#include <limits>

namespace ulk::sacc {

void SplCacheFileDesc::set_as_open(char const* pathname, SplCacheFileId id, long cell_len,
                                   bool rec_flag) {
    _pathname = pathname;
    _id = id;
    _rec_flag = rec_flag;
    _nbr_chn = _handle.get_nbr_chn();
    _sample_freq = _handle.get_sample_freq();
    _length = _handle.get_length();
    _block_frame_len = cell_len / _nbr_chn;
    archi::Int64 const nbr_blocks =
        rec_flag ? 1 : (_length + _block_frame_len - 1) / _block_frame_len;
    _cell_index_list.assign(static_cast<std::size_t>(nbr_blocks), -1);
}

void SplCacheFileDesc::set_as_close() {
    _nbr_chn = -1;
    _id = -1;
    _pathname.clear();
}

archi::Int64 SplCacheFileDesc::compute_end(archi::Int64 pos, long len) {
    using Limits = std::numeric_limits<archi::Int64>;
    if (len > 0) {
        return pos > Limits::max() - len ? Limits::max() : pos + len;
    }
    return pos < Limits::min() - len ? Limits::min() : pos + len;
}

void SplCacheFileDesc::compute_block_covering(long& first, long& count, archi::Int64 pos,
                                              long len) const {
    first = static_cast<long>(pos / _block_frame_len);
    archi::Int64 const end_in_block = compute_end(pos % _block_frame_len, len);
    // Nearly always within a block, which spares a division.
    if (end_in_block > 0 && end_in_block <= _block_frame_len && pos >= 0) {
        count = 1;
        return;
    }
    archi::Int64 const last = compute_end(compute_end(pos, len), -1);
    count = static_cast<long>(last / _block_frame_len) - first + 1;
}

void SplCacheFileDesc::compute_block_covering_clamped(long& first, long& count, archi::Int64 pos,
                                                      long len) const {
    compute_block_covering(first, count, pos, len);
    long const end = std::min(first + count, static_cast<long>(_cell_index_list.size()));
    first = std::max(first, 0L);
    count = std::max(end - first, 0L);
}

bool SplCacheFileDesc::push_new_data(long len) {
    archi::Int64 const in_block = _length % _block_frame_len;
    _length = _length + len;
    if (in_block + len < _block_frame_len) {
        return false;
    }
    set_rec_cell_index(-1);
    return true;
}

} // namespace ulk::sacc
