#pragma once

#include "ulk/sacc/SplCache.h"

namespace ulk::sacc {

// The inside of a cache, to look at while no other thread is in it.
class SplCacheProbe {
public:
    using CellVect = SplCacheCellList::CellVect;

    static CellVect const& use_cells(SplCache const& cache) { return cache.use_cells(); }
    static SplCacheCellList const& use_lru(SplCache const& cache) { return cache._cell_list_lru; }
    static SplCacheCellList const& use_rec_free(SplCache const& cache) {
        return cache._cell_list_rec_free;
    }
    static SplCacheCellList const& use_rec_used(SplCache const& cache) {
        return cache._cell_list_rec_used;
    }
    static long get_cell_len(SplCache const& cache) { return cache._cell_len; }
    static bool check_cell_list_rec_used(SplCache const& cache) {
        return cache.check_cell_list_rec_used();
    }
    // Null for an unknown id.
    static SplCacheFileDesc* find_file(SplCache const& cache, SplCacheFileId file_id) {
        return cache._file_pool.find_file_rt(file_id);
    }

    // The indices on a list from head to tail; empty, and a lie, when its links are broken.
    static std::vector<long> list_cells(SplCacheCellList const& list, CellVect const& cells) {
        std::vector<long> index_list;
        long prev = -1;
        for (long index = list.get_head_index(); index >= 0;) {
            auto const& cell = *cells[static_cast<std::size_t>(index)];
            if (cell.get_prev_cell() != prev || index_list.size() >= cells.size()) {
                return {};
            }
            index_list.push_back(index);
            prev = index;
            index = cell.get_next_cell();
        }
        return list.get_tail_index() == prev ? index_list : std::vector<long>();
    }
};

} // namespace ulk::sacc
