#include "ulk/sacc/SplCacheCellList.h"

namespace ulk::sacc {

namespace {

SplCacheCell& use(SplCacheCellList::CellVect const& cells, long index) {
    return *cells[static_cast<std::size_t>(index)];
}

} // namespace

void SplCacheCellList::clear() {
    _head = -1;
    _tail = -1;
}

void SplCacheCellList::push_back(long index, CellVect const& cells) {
    SplCacheCell& cell = use(cells, index);
    cell._prev_cell = _tail;
    cell._next_cell = -1;
    (_tail >= 0 ? use(cells, _tail)._next_cell : _head) = index;
    _tail = index;
}

void SplCacheCellList::push_front(long index, CellVect const& cells) {
    SplCacheCell& cell = use(cells, index);
    cell._prev_cell = -1;
    cell._next_cell = _head;
    (_head >= 0 ? use(cells, _head)._prev_cell : _tail) = index;
    _head = index;
}

void SplCacheCellList::remove(long index, CellVect const& cells) {
    SplCacheCell& cell = use(cells, index);
    (cell._prev_cell >= 0 ? use(cells, cell._prev_cell)._next_cell : _head) = cell._next_cell;
    (cell._next_cell >= 0 ? use(cells, cell._next_cell)._prev_cell : _tail) = cell._prev_cell;
    cell._prev_cell = -1;
    cell._next_cell = -1;
}

void SplCacheCellList::move_to_back(long index, CellVect const& cells) {
    if (index != _tail) {
        remove(index, cells);
        push_back(index, cells);
    }
}

void SplCacheCellList::move_to_front(long index, CellVect const& cells) {
    if (index != _head) {
        remove(index, cells);
        push_front(index, cells);
    }
}

long SplCacheCellList::pop_front(CellVect const& cells) {
    long const index = _head;
    remove(index, cells);
    return index;
}

} // namespace ulk::sacc
