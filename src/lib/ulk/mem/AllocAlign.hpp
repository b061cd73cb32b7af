#pragma once

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

namespace ulk::mem {

template <class T, std::size_t ALIGN>
T* AllocAlign<T, ALIGN>::allocate(std::size_t nbr_elt) {
    constexpr std::size_t extra = ALIGN - 1 + sizeof(void*);
    if (nbr_elt > (std::numeric_limits<std::ptrdiff_t>::max() - extra) / sizeof(T)) {
        throw std::bad_array_new_length();
    }
    char* const raw = new char[nbr_elt * sizeof(T) + extra];
    std::size_t const shift = reinterpret_cast<std::uintptr_t>(raw) + extra;
    char* const aligned = raw + (extra - (shift & (ALIGN - 1)));
    std::memcpy(aligned - sizeof(raw), &raw, sizeof(raw));
    return reinterpret_cast<T*>(aligned);
}

template <class T, std::size_t ALIGN>
void AllocAlign<T, ALIGN>::deallocate(T* ptr, std::size_t) noexcept {
    if (ptr != nullptr) {
        char* raw;
        std::memcpy(&raw, reinterpret_cast<char*>(ptr) - sizeof(raw), sizeof(raw));
        delete[] raw;
    }
}

} // namespace ulk::mem
