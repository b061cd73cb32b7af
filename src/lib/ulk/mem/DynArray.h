#pragma once

#include <cstddef>

namespace ulk::mem {

// Heap array of a length set at run time, aligned on ALIGN bytes (a power of two).
template <class T, std::size_t ALIGN = 1>
class DynArray {
public:
    DynArray() = default;
    explicit DynArray(long size) { resize_loss(size); }
    DynArray(DynArray const&) = delete;
    DynArray& operator=(DynArray const&) = delete;
    ~DynArray() { release(); }

    // Makes room for new_size default-constructed elements; the content is lost. Below 1 the array
    // is emptied. The current size keeps the storage and its content. Throws std::bad_alloc or
    // what a constructor throws, and then the array is as it was.
    void resize_loss(long new_size);

    long size() const noexcept { return _len; }
    bool empty() const noexcept { return _len == 0; }
    T* data() noexcept { return _data_ptr; }
    T const* data() const noexcept { return _data_ptr; }
    T& operator[](long pos) noexcept { return _data_ptr[pos]; }
    T const& operator[](long pos) const noexcept { return _data_ptr[pos]; }

private:
    void release() noexcept;

    T* _data_ptr = nullptr;
    void* _raw_ptr = nullptr; // what goes back to the allocator
    long _len = 0;
};

} // namespace ulk::mem

#include "ulk/mem/DynArray.hpp"
