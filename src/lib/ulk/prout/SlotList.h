#pragma once

#include "ulk/mem/SharedPtr.h"

#include <cassert>
#include <cstddef>
#include <vector>

namespace ulk::prout {

// Shared objects by parameter index; slots that nobody filled yet are null.
template <class T>
class SlotList {
public:
    // Grows the list to reach index (0 or more), with null slots before it.
    void set(int index, mem::SharedPtr<T> ptr) {
        assert(index >= 0);
        if (index >= get_size()) {
            _nbr_unset += index + 1 - get_size();
            _ptr_arr.resize(static_cast<std::size_t>(index) + 1);
        }
        auto& slot = _ptr_arr[static_cast<std::size_t>(index)];
        _nbr_unset += (ptr.get() == nullptr) - (slot.get() == nullptr);
        slot = ptr;
    }
    void clear() {
        _ptr_arr.clear();
        _nbr_unset = 0;
    }

    int get_size() const { return static_cast<int>(_ptr_arr.size()); }
    int get_nbr_unset() const { return _nbr_unset; }
    // Null for a null slot and for an index out of range.
    T* find(int index) const {
        return index >= 0 && index < get_size() ? _ptr_arr[static_cast<std::size_t>(index)].get()
                                                : nullptr;
    }
    // index is not tested.
    T& use(int index) const { return *_ptr_arr[static_cast<std::size_t>(index)]; }

private:
    std::vector<mem::SharedPtr<T>> _ptr_arr;
    int _nbr_unset = 0;
};

} // namespace ulk::prout
