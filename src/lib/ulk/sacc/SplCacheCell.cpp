#include "ulk/sacc/SplCacheCell.h"

#include <algorithm>

namespace ulk::sacc {

void SplCacheCell::init(Type type) {
    _type = type;
    free_cell();
}

void SplCacheCell::free_cell() {
    _status = Status_FREE;
    set_content(0, -1, -1);
    _content_len = 0;
    _read_flag = false;
}

void SplCacheCell::set_content(SplCacheFileId file_id, long block_index, int nbr_chn) {
    _file_id = file_id;
    _block_index = block_index;
    _nbr_chn = nbr_chn;
}

void SplCacheCell::request_data(bool lock_flag, SplCacheFileId file_id, long block_index,
                                int nbr_chn, archi::Int64 file_len) {
    _type = lock_flag ? Type_LOCKED : Type_NORMAL;
    _status = Status_REQUESTED;
    set_content(file_id, block_index, nbr_chn);
    archi::Int64 const frames = compute_nbr_frames();
    _content_len = static_cast<long>(std::min(frames, file_len - frames * block_index));
}

long SplCacheCell::start_rec(SplCacheFileId file_id, long block_index, int nbr_chn,
                             archi::Int64 end_pos) {
    set_content(file_id, block_index, nbr_chn);
    archi::Int64 const frames = compute_nbr_frames();
    archi::Int64 const avail = end_pos - frames * block_index;
    _status = avail >= frames ? Status_FULL : Status_REQUESTED;
    _content_len = static_cast<long>(std::min(avail, frames));
    return _content_len;
}

long SplCacheCell::extend_rec(archi::Int64 end_pos) {
    archi::Int64 const frames = compute_nbr_frames();
    archi::Int64 const added = end_pos - (_block_index * frames + _content_len);
    archi::Int64 const room = frames - _content_len;
    if (added >= room) {
        _status = Status_FULL;
    }
    long const taken = static_cast<long>(std::min(added, room));
    _content_len += taken;
    return taken;
}

} // namespace ulk::sacc
