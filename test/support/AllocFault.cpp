#include "support/AllocFault.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace test {

namespace {

thread_local bool active_flag = false;
thread_local long count = 0;
thread_local long fail_pos = -1;
thread_local long nbr_bytes = 0;

void* allocate(std::size_t size, std::size_t align) {
    if (active_flag) {
        nbr_bytes += static_cast<long>(size);
        if (count++ == fail_pos) {
            throw std::bad_alloc();
        }
    }
    std::size_t const rounded = (size + align - 1) / align * align;
    void* const ptr = align <= alignof(std::max_align_t)
                          ? std::malloc(size != 0 ? size : 1)
                          : std::aligned_alloc(align, rounded != 0 ? rounded : align);
    if (ptr == nullptr) {
        throw std::bad_alloc();
    }
    return ptr;
}

} // namespace

AllocFault::AllocFault(long fail_at) {
    count = 0;
    fail_pos = fail_at;
    nbr_bytes = 0;
    active_flag = true;
}

AllocFault::~AllocFault() {
    active_flag = false;
}

long AllocFault::get_count() const {
    return count;
}

bool AllocFault::has_failed() const {
    return fail_pos >= 0 && count > fail_pos;
}

long AllocFault::get_nbr_bytes() const {
    return nbr_bytes;
}

} // namespace test

// Replacements of the global operators; the forms not named here fall back on these.
void* operator new(std::size_t size) {
    return test::allocate(size, 1);
}

void* operator new(std::size_t size, std::align_val_t align) {
    return test::allocate(size, static_cast<std::size_t>(align));
}

void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    try {
        return test::allocate(size, 1);
    } catch (...) {
        return nullptr;
    }
}

void operator delete(void* ptr) noexcept {
    std::free(ptr);
}

void operator delete(void* ptr, std::nothrow_t const&) noexcept {
    std::free(ptr);
}

void operator delete(void* ptr, std::size_t) noexcept {
    std::free(ptr);
}

void operator delete(void* ptr, std::align_val_t) noexcept {
    std::free(ptr);
}

void operator delete(void* ptr, std::size_t, std::align_val_t) noexcept {
    std::free(ptr);
}

// The array forms as well: a sanitizer's runtime has its own, which would not be counted.
void* operator new[](std::size_t size) {
    return test::allocate(size, 1);
}

void* operator new[](std::size_t size, std::align_val_t align) {
    return test::allocate(size, static_cast<std::size_t>(align));
}

void* operator new[](std::size_t size, std::nothrow_t const& tag) noexcept {
    return operator new(size, tag);
}

void operator delete[](void* ptr) noexcept {
    std::free(ptr);
}

void operator delete[](void* ptr, std::size_t) noexcept {
    std::free(ptr);
}

void operator delete[](void* ptr, std::align_val_t) noexcept {
    std::free(ptr);
}

void operator delete[](void* ptr, std::size_t, std::align_val_t) noexcept {
    std::free(ptr);
}

void operator delete[](void* ptr, std::nothrow_t const&) noexcept {
    std::free(ptr);
}
