#pragma once

#include "ulk/archi/types.h"
#include "ulk/sacc/SplCacheFileId.h"

namespace ulk::sacc {

class SplCacheIteratorRead;
class SplCacheIteratorWrite;

// What a real-time thread sees of the sample cache. Everything here is real-time, within a pass:
// whoever drives the interface holds the cache's real-time mutex around all that it does through
// it. No call waits for data; what is not there yet is left out of the answer. Positions and
// lengths are in frames. 0, or an error of the sample library.
class SplCacheRtInterface {
public:
    virtual ~SplCacheRtInterface() = default;

    // Asks that len frames from pos on be brought into memory, and keeps fresh those that are
    // there. For files of fixed length alone. Err_FILE_ID_UNKNOWN, Err_OUT_OF_RANGE.
    int prefetch_data(SplCacheFileId file_id, archi::Int64 pos, long len) {
        return do_prefetch_data(file_id, pos, len);
    }
    // Sets it to walk the cells now full that cover the range, which lies within the file; possibly
    // none. For files of fixed length alone. Err_FILE_ID_UNKNOWN.
    int get_data(SplCacheFileId file_id, archi::Int64 pos, long len, SplCacheIteratorRead& it) {
        return do_get_data(file_id, pos, len, it);
    }
    // Appends len frames to a file made for recording; sets it to walk the spans where the caller
    // writes them. Short of memory the walk ends early and the rest is lost. Err_FILE_ID_UNKNOWN.
    int push_data(SplCacheFileId file_id, long len, SplCacheIteratorWrite& it) {
        return do_push_data(file_id, len, it);
    }

protected:
    virtual int do_prefetch_data(SplCacheFileId file_id, archi::Int64 pos, long len) = 0;
    virtual int do_get_data(SplCacheFileId file_id, archi::Int64 pos, long len,
                            SplCacheIteratorRead& it) = 0;
    virtual int do_push_data(SplCacheFileId file_id, long len, SplCacheIteratorWrite& it) = 0;
};

} // namespace ulk::sacc
