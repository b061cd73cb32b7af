#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <new>

namespace ulk::mem {

template <class T, std::size_t ALIGN>
void DynArray<T, ALIGN>::resize_loss(long new_size) {
    static_assert(ALIGN != 0 && (ALIGN & (ALIGN - 1)) == 0);
    static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__ || ALIGN % alignof(T) == 0);
    if (new_size < 1) {
        release();
    } else if (new_size != _len) {
        auto const len = static_cast<std::size_t>(new_size);
        if (len > (std::numeric_limits<std::ptrdiff_t>::max() - ALIGN) / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        std::unique_ptr<char[]> raw(new char[len * sizeof(T) + ALIGN - 1]);
        std::size_t const shift = reinterpret_cast<std::uintptr_t>(raw.get()) + ALIGN - 1;
        T* const data = reinterpret_cast<T*>(raw.get() + (ALIGN - 1 - (shift & (ALIGN - 1))));
        std::uninitialized_default_construct_n(data, len);
        release();
        _data_ptr = data;
        _raw_ptr = raw.release();
        _len = new_size;
    }
}

template <class T, std::size_t ALIGN>
void DynArray<T, ALIGN>::release() noexcept {
    std::destroy_n(_data_ptr, _len);
    delete[] static_cast<char*>(_raw_ptr);
    _data_ptr = nullptr;
    _raw_ptr = nullptr;
    _len = 0;
}

} // namespace ulk::mem
