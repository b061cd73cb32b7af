#pragma once

#include "ulk/archi/types.h"
#include "ulk/sacc/SplCacheFileId.h"

namespace ulk::sacc {

// A fixed run of floats that holds one block of one file, interleaved from its first float, with a
// descriptor around it. The life of a cell:
//
//   normal or locked           FREE --request_data--> REQUESTED --start_transfer--> TRANSFER
//   (prefetch: real-time;        ^                        ^                            |
//    the rest: background)       +---- free_cell, any ----+-- request_data, any        |
//                                                        FULL <--signal_load_complete--+
//
//   recording                  FREE --start_rec--> REQUESTED --extend_rec--> FULL
//   (up to FULL: real-time;      ^                    | at the closing         |
//    the rest: background)       +--free_cell-- TRANSFER <--start_transfer-----+
//
// Plain data: the cache's mutexes order who may touch it. Nothing here allocates or waits.
class SplCacheCell {
public:
    enum Type : int {
        Type_INVALID = -1, // not initialised yet
        Type_NORMAL = 0,   // on the list of those that may be evicted
        Type_LOCKED,       // pinned: on no list
        Type_REC,          // reserved for recording

        Type_NBR_ELT
    };

    enum Status : int {
        Status_FREE = 0,
        Status_REQUESTED, // a read is wanted; of a recording cell: being filled
        Status_TRANSFER,  // the background side reads or writes it
        Status_FULL,      // complete

        Status_NBR_ELT
    };

    // data: length floats, not owned.
    SplCacheCell(float* data, long length)
        : _data(data)
        , _length(length) {}
    virtual ~SplCacheCell() = default;
    SplCacheCell(SplCacheCell const&) = default;
    SplCacheCell& operator=(SplCacheCell const&) = default;

    void init(Type type); // resets all but the links
    bool is_valid() const { return _type != Type_INVALID; }

    // file_len: frames; the last block of a file is short.
    void request_data(bool lock_flag, SplCacheFileId file_id, long block_index, int nbr_chn,
                      archi::Int64 file_len);
    // end_pos: file position behind the frames to come. Both return the frames taken in.
    long start_rec(SplCacheFileId file_id, long block_index, int nbr_chn, archi::Int64 end_pos);
    long extend_rec(archi::Int64 end_pos);

    void lock() { _type = Type_LOCKED; }
    void unlock() { _type = Type_NORMAL; }
    void start_transfer() { _status = Status_TRANSFER; }
    void signal_load_complete() { _status = Status_FULL; }
    void signal_read() { _read_flag = true; }
    void free_cell(); // type and links stay

    Type get_type() const { return _type; }
    Status get_status() const { return _status; }
    SplCacheFileId get_file_id() const { return _file_id; }
    long get_block_index() const { return _block_index; }
    long get_content_len() const { return _content_len; } // frames
    bool has_been_read() const { return _read_flag; }
    float* use_data() { return _data; }
    float const* use_data() const { return _data; }
    long get_next_cell() const { return _next_cell; } // -1 at the tail
    long get_prev_cell() const { return _prev_cell; } // -1 at the head

private:
    friend class SplCacheCellList;

    long compute_nbr_frames() const { return _length / _nbr_chn; }
    void set_content(SplCacheFileId file_id, long block_index, int nbr_chn);

    float* _data;
    long _length; // floats
    Type _type = Type_INVALID;
    Status _status = Status_FREE;
    SplCacheFileId _file_id = 0;
    long _block_index = -1;
    int _nbr_chn = -1;
    long _content_len = 0;
    long _next_cell = -1;
    long _prev_cell = -1;
    bool _read_flag = false; // some reader asked for this content
};

} // namespace ulk::sacc
