#pragma once

#include "ulk/archi/types.h"

namespace ulk::mem {

// Reference-counted owning pointer: the address of the object and of a heap cell with the count
// that all copies share, both null when empty. Copies may be made and released by several threads
// at once; a single SharedPtr object belongs to one thread at a time. Copying is one swap and
// real-time; construction from a raw pointer allocates and the last release destroys and frees,
// so the real-time thread never holds the last copy.
template <class T>
class SharedPtr {
public:
    SharedPtr() = default;
    // Takes ptr over; a null pointer allocates nothing. Throws std::bad_alloc, and then ptr is
    // still the caller's.
    SharedPtr(T* ptr);
    SharedPtr(SharedPtr const& other) noexcept; // real-time
    template <class U>
    SharedPtr(SharedPtr<U> const& other) noexcept; // real-time. U derives from T
    ~SharedPtr();
    // Makes an object and its first pointer; nothing is left over when it throws.
    template <class... Args>
    static SharedPtr make(Args&&... args);
    // Does nothing if both hold the same object.
    SharedPtr& operator=(SharedPtr const& other) noexcept;

    // Lets go of the object, and destroys it if this was the last copy. Only then are the two
    // words cleared; else they stand as they were and the caller has to overwrite them.
    void destroy_complete() noexcept;
    void reset() noexcept; // lets go of the object and is empty after it

    T* get() const noexcept { return _obj_ptr; }
    T& operator*() const noexcept { return *_obj_ptr; }
    T* operator->() const noexcept { return _obj_ptr; }
    explicit operator bool() const noexcept { return _obj_ptr != nullptr; }

private:
    template <class U>
    friend class SharedPtr;

    void add_ref() const noexcept;

    T* _obj_ptr = nullptr;
    archi::Int32* _count_ptr = nullptr;
};

template <class T, class U>
bool operator==(SharedPtr<T> const& lhs, SharedPtr<U> const& rhs) noexcept {
    return lhs.get() == rhs.get();
}

} // namespace ulk::mem

#include "ulk/mem/SharedPtr.hpp"
