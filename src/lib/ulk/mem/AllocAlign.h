#pragma once

#include <cstddef>

namespace ulk::mem {

// Allocator of the standard containers, for storage aligned on ALIGN bytes (a power of two). The
// address that new[] gave is kept in the word below the storage.
//     std::vector<float, AllocAlign<float, 16>>
template <class T, std::size_t ALIGN>
class AllocAlign {
public:
    static_assert(ALIGN != 0 && (ALIGN & (ALIGN - 1)) == 0);
    static_assert(ALIGN % alignof(T) == 0);

    using value_type = T;
    template <class U>
    struct rebind {
        using other = AllocAlign<U, ALIGN>;
    };

    AllocAlign() = default;
    template <class U>
    AllocAlign(AllocAlign<U, ALIGN> const&) noexcept {}

    // Storage for nbr_elt elements. Throws std::bad_alloc, also for sizes that no memory holds.
    T* allocate(std::size_t nbr_elt);
    void deallocate(T* ptr, std::size_t nbr_elt) noexcept; // null does nothing

    template <class U>
    bool operator==(AllocAlign<U, ALIGN> const&) const noexcept {
        return true;
    }
};

} // namespace ulk::mem

#include "ulk/mem/AllocAlign.hpp"
