#pragma once

#include "ulk/mem/SharedPtr.h"
#include "ulk/sacc/SplCacheCell.h"

#include <vector>

namespace ulk::sacc {

// A list of cells by index. The links are in the cells, so a cell stands on one list at the most;
// the list does not know the cell vector, which each operation takes. All constant-time, without
// allocation.
class SplCacheCellList {
public:
    using CellVect = std::vector<mem::SharedPtr<SplCacheCell>>;

    virtual ~SplCacheCellList() = default;

    bool is_empty() const { return _head < 0; }
    void clear();                                 // the ends alone, not the cells
    long get_head_index() const { return _head; } // -1 for an empty list
    long get_tail_index() const { return _tail; }

    void push_back(long index, CellVect const& cells);
    void push_front(long index, CellVect const& cells);
    void remove(long index, CellVect const& cells);
    void move_to_back(long index, CellVect const& cells);
    void move_to_front(long index, CellVect const& cells);
    long pop_front(CellVect const& cells); // the former head; the list is not empty

private:
    long _head = -1;
    long _tail = -1;
};

} // namespace ulk::sacc
