#include "host/engine/CacheService.h"

#include "host/Error.h"
#include "ulk/sacc/SplCacheStat.h"

#include <string>

namespace ulk::host::engine {

CacheService::CacheService(Size const& size)
    : _size(size) {
    if (_cache.set_memory(size.normal_len, size.rec_len, size.cell_len) != 0) {
        throw Error(Error::Kind_IO, "no memory for a sample cache of " +
                                        std::to_string((size.normal_len + size.rec_len) / 262144) +
                                        " MiB");
    }
}

void CacheService::run_slices() {
    bool rest_flag = true;
    while (rest_flag) {
        rest_flag = _cache.do_run_slice();
        ++_nbr_slices;
    }
}

long CacheService::count_requested_cells() const {
    using sacc::SplCacheCell;
    sacc::SplCacheStat stat;
    _cache.collect_statistics(stat);
    return stat.get_nbr_cells(SplCacheCell::Type_NORMAL, SplCacheCell::Status_REQUESTED);
}

} // namespace ulk::host::engine
