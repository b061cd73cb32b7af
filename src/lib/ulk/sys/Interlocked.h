#pragma once

#include "ulk/archi/types.h"

namespace ulk::sys {

// Atomic operations on plain shared words. Every one is a full memory barrier. real-time, any
// thread, lock-free.
//
// exchange_*() give the previous value of dest.
// compare_exchange_*() store excg if dest holds comp, and give comp if the swap was done, excg
// (not the value found) if it was not: the result serves only for the test "== comp" of a retry
// loop, and a caller with excg == comp cannot tell the two outcomes apart.
class Interlocked {
public:
    static archi::Int32 exchange_int32(archi::Int32 volatile& dest, archi::Int32 excg) noexcept;
    static archi::Int32 compare_exchange_int32(archi::Int32 volatile& dest, archi::Int32 excg,
                                               archi::Int32 comp) noexcept;
    static archi::Int64 exchange_int64(archi::Int64 volatile& dest, archi::Int64 excg) noexcept;
    static archi::Int64 compare_exchange_int64(archi::Int64 volatile& dest, archi::Int64 excg,
                                               archi::Int64 comp) noexcept;
    static void* exchange_ptr(void* volatile& dest, void* excg) noexcept;
    static void* compare_exchange_ptr(void* volatile& dest, void* excg, void* comp) noexcept;

private:
    template <class T>
    static T exchange(T volatile& dest, T excg) noexcept;
    template <class T>
    static T compare_exchange(T volatile& dest, T excg, T comp) noexcept;
};

} // namespace ulk::sys

#include "ulk/sys/Interlocked.hpp"
