#pragma once

#include <atomic>

namespace ulk::sys {

template <class T>
inline T Interlocked::exchange(T volatile& dest, T excg) noexcept {
    return std::atomic_ref<T>(const_cast<T&>(dest)).exchange(excg);
}

template <class T>
inline T Interlocked::compare_exchange(T volatile& dest, T excg, T comp) noexcept {
    T found = comp;
    bool const done = std::atomic_ref<T>(const_cast<T&>(dest)).compare_exchange_strong(found, excg);
    return done ? comp : excg;
}

inline archi::Int32 Interlocked::exchange_int32(archi::Int32 volatile& dest,
                                                archi::Int32 excg) noexcept {
    return exchange(dest, excg);
}

inline archi::Int32 Interlocked::compare_exchange_int32(archi::Int32 volatile& dest,
                                                        archi::Int32 excg,
                                                        archi::Int32 comp) noexcept {
    return compare_exchange(dest, excg, comp);
}

inline archi::Int64 Interlocked::exchange_int64(archi::Int64 volatile& dest,
                                                archi::Int64 excg) noexcept {
    return exchange(dest, excg);
}

inline archi::Int64 Interlocked::compare_exchange_int64(archi::Int64 volatile& dest,
                                                        archi::Int64 excg,
                                                        archi::Int64 comp) noexcept {
    return compare_exchange(dest, excg, comp);
}

inline void* Interlocked::exchange_ptr(void* volatile& dest, void* excg) noexcept {
    return exchange(dest, excg);
}

inline void* Interlocked::compare_exchange_ptr(void* volatile& dest, void* excg,
                                               void* comp) noexcept {
    return compare_exchange(dest, excg, comp);
}

} // namespace ulk::sys
