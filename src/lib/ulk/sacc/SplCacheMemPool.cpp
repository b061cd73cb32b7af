#include "ulk/sacc/SplCacheMemPool.h"

#include "ulk/sacc/Err.h"
#include "ulk/sys/CritSec.h"
#include "ulk/udbg/log.h"

namespace ulk::sacc {

int SplCacheMemPool::add_memory(long len, long cell_len, long& cell_index, long& nbr_cells) {
    cell_index = static_cast<long>(_cell_arr.size());
    nbr_cells = 0;
    try {
        CellVect cells(_cell_arr);
        std::vector<float>& mem = _mem_list.emplace_back();
        mem.resize(static_cast<std::size_t>(len));
        int const ret = add_cells(cells, mem, cell_len, nbr_cells);
        if (ret == 0) {
            swap_cells(cells);
        }
        return ret; // the old vector goes here, outside the mutex
    } catch (...) {
        ULK_LOG(ERROR, "add_memory(): Exception.");
        return Err_EXCEPTION;
    }
}

int SplCacheMemPool::rebuild_cell_list(long cell_len, long& nbr_cells) {
    try {
        CellVect cells;
        for (std::vector<float>& mem : _mem_list) {
            int const ret = add_cells(cells, mem, cell_len, nbr_cells);
            if (ret != 0) {
                return ret;
            }
        }
        swap_cells(cells);
        return 0;
    } catch (...) {
        ULK_LOG(ERROR, "rebuild_cell_list(): Exception.");
        return Err_EXCEPTION;
    }
}

void SplCacheMemPool::clear() {
    std::list<std::vector<float>> mem_list;
    CellVect cells;
    sys::CritSec crit_rt(_mutex_rt); // ends before the old ones are destroyed
    _mem_list.swap(mem_list);
    _cell_arr.swap(cells);
}

int SplCacheMemPool::add_cells(CellVect& cells, std::vector<float>& mem, long cell_len,
                               long& nbr_cells) {
    nbr_cells = 0;
    if (cell_len < 1) {
        return 0;
    }
    try {
        long const len = static_cast<long>(mem.size());
        for (long pos = 0; len - pos >= cell_len; pos += cell_len) {
            cells.push_back(mem::SharedPtr<SplCacheCell>::make(mem.data() + pos, cell_len));
            ++nbr_cells;
        }
        return 0;
    } catch (...) {
        ULK_LOG(ERROR, "add_cells(): Exception.");
        return Err_EXCEPTION;
    }
}

void SplCacheMemPool::swap_cells(CellVect& cells) {
    sys::CritSec crit_rt(_mutex_rt);
    _cell_arr.swap(cells);
}

} // namespace ulk::sacc
