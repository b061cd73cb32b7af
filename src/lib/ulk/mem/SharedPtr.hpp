#pragma once

#include "ulk/conc/AioAdd.h"
#include "ulk/conc/RetryLoop.h"
#include "ulk/sys/Interlocked.h"

#include <memory>
#include <utility>

namespace ulk::mem {

template <class T>
inline SharedPtr<T>::SharedPtr(T* ptr)
    : _obj_ptr(ptr)
    , _count_ptr(ptr != nullptr ? new archi::Int32(0) : nullptr) {
    if (_count_ptr != nullptr) {
        sys::Interlocked::exchange_int32(*_count_ptr, 1);
    }
}

template <class T>
inline SharedPtr<T>::SharedPtr(SharedPtr const& other) noexcept
    : _obj_ptr(other._obj_ptr)
    , _count_ptr(other._count_ptr) {
    add_ref();
}

template <class T>
template <class U>
inline SharedPtr<T>::SharedPtr(SharedPtr<U> const& other) noexcept
    : _obj_ptr(other._obj_ptr)
    , _count_ptr(other._count_ptr) {
    add_ref();
}

template <class T>
inline SharedPtr<T>::~SharedPtr() {
    destroy_complete();
}

template <class T>
template <class... Args>
inline SharedPtr<T> SharedPtr<T>::make(Args&&... args) {
    auto object = std::make_unique<T>(std::forward<Args>(args)...);
    SharedPtr const ptr(object.get());
    object.release();
    return ptr;
}

template <class T>
inline SharedPtr<T>& SharedPtr<T>::operator=(SharedPtr const& other) noexcept {
    if (other._obj_ptr != _obj_ptr) {
        // The object that goes may be the one that holds other, as in p = p->next.
        other.add_ref();
        T* const obj_ptr = other._obj_ptr;
        archi::Int32* const count_ptr = other._count_ptr;
        destroy_complete();
        _obj_ptr = obj_ptr;
        _count_ptr = count_ptr;
    }
    return *this;
}

// Out of line, so that what copies a pointer stays small.
template <class T>
[[gnu::noinline]] void SharedPtr<T>::destroy_complete() noexcept {
    if (_obj_ptr == nullptr) {
        return;
    }
    if (conc::RetryLoop::update(*_count_ptr, conc::AioAdd<long>(-1)) == 0) {
        delete _obj_ptr;
        _obj_ptr = nullptr;
        delete _count_ptr;
        _count_ptr = nullptr;
    }
}

template <class T>
inline void SharedPtr<T>::reset() noexcept {
    destroy_complete();
    _obj_ptr = nullptr;
    _count_ptr = nullptr;
}

template <class T>
inline void SharedPtr<T>::add_ref() const noexcept {
    if (_count_ptr != nullptr) {
        conc::RetryLoop::update(*_count_ptr, conc::AioAdd<long>(1));
    }
}

} // namespace ulk::mem
