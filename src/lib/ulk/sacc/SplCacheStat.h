#pragma once

#include "ulk/sacc/SplCacheCell.h"

namespace ulk::sacc {

// A snapshot of how the cells are used.
class SplCacheStat {
public:
    virtual ~SplCacheStat() = default;

    void clear();
    void add_cell(SplCacheCell const& cell); // a valid one

    long get_nbr_cells(SplCacheCell::Type type, SplCacheCell::Status status) const {
        return _nbr_cells_arr[type][status];
    }
    // Cells whose content a reader asked for; always 0 for recording cells.
    long get_nbr_cells_read(SplCacheCell::Type type) const { return _nbr_read_arr[type]; }

private:
    long _nbr_cells_arr[SplCacheCell::Type_NBR_ELT][SplCacheCell::Status_NBR_ELT] = {};
    long _nbr_read_arr[SplCacheCell::Type_NBR_ELT] = {};
};

} // namespace ulk::sacc
