#pragma once

#include "ulk/sacc/SplCacheCellList.h"

#include <list>
#include <vector>

namespace ulk::sys {
class Mutex;
}

namespace ulk::sacc {

// The cells of a cache and their floats. Grows without disturbing a real-time reader: index and
// address of every cell stay, and the cell vector changes by a swap under the real-time mutex.
// Background side; the caller puts the operations in a row.
class SplCacheMemPool {
public:
    using CellVect = SplCacheCellList::CellVect;

    explicit SplCacheMemPool(sys::Mutex& mutex_rt)
        : _mutex_rt(mutex_rt) {} // not owned
    virtual ~SplCacheMemPool() = default;

    SplCacheMemPool(SplCacheMemPool const&) = delete;
    SplCacheMemPool& operator=(SplCacheMemPool const&) = delete;

    // len, cell_len: floats. The new cells are nbr_cells from cell_index on. 0 or Err_EXCEPTION.
    int add_memory(long len, long cell_len, long& cell_index, long& nbr_cells);
    // Cuts all memory anew; nbr_cells tells those of the last block alone. No cell survives.
    int rebuild_cell_list(long cell_len, long& nbr_cells);
    void clear();

    CellVect const& use_cell_list() const { return _cell_arr; }

    // Cuts mem into whole cells and appends them; the rest of mem stays unused. 0 or Err_EXCEPTION.
    static int add_cells(CellVect& cells, std::vector<float>& mem, long cell_len, long& nbr_cells);

private:
    void swap_cells(CellVect& cells);

    sys::Mutex& _mutex_rt;
    std::list<std::vector<float>> _mem_list; // a block never changes its size
    CellVect _cell_arr;
};

} // namespace ulk::sacc
