#include "ulk/sacc/SplCacheStat.h"

namespace ulk::sacc {

void SplCacheStat::clear() {
    *this = SplCacheStat();
}

void SplCacheStat::add_cell(SplCacheCell const& cell) {
    SplCacheCell::Type const type = cell.get_type();
    ++_nbr_cells_arr[type][cell.get_status()];
    if (type != SplCacheCell::Type_REC && cell.has_been_read()) {
        ++_nbr_read_arr[type];
    }
}

} // namespace ulk::sacc
