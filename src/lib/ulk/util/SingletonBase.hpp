#pragma once

#include "ulk/sys/CritSec.h"

namespace ulk::util {

template <class T>
inline T& SingletonBase<T>::use_instance() {
    if (!_singleton_init_flag.load(std::memory_order_acquire)) {
        create_instance();
    }
    return *_singleton_aptr;
}

// Out of line, so that the usual path has no guard of a static.
template <class T>
[[gnu::noinline]] void SingletonBase<T>::create_instance() {
    static sys::Mutex mutex_new;
    sys::CritSec const lock(mutex_new, true);
    if (!_singleton_init_flag.load(std::memory_order_relaxed)) {
        _singleton_aptr.reset(new T);
        _singleton_init_flag.store(true, std::memory_order_release);
    }
}

} // namespace ulk::util
