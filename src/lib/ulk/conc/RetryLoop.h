#pragma once

#include "ulk/archi/types.h"
#include "ulk/sys/Interlocked.h"

#include <atomic>

namespace ulk::conc {

// Atomic read-modify-write of a shared word by compare-and-swap. Lock-free, a full barrier.
class RetryLoop {
public:
    // Replaces dest by op(dest) and gives the value stored. real-time, any thread.
    template <class OP>
    static archi::Int32 update(archi::Int32& dest, OP const& op) noexcept {
        archi::Int32 old_val;
        archi::Int32 new_val;
        do {
            old_val = load(dest);
            new_val = static_cast<archi::Int32>(op(old_val));
        } while (sys::Interlocked::compare_exchange_int32(dest, new_val, old_val) != old_val);
        return new_val;
    }

    // A stale value only costs the loop another round. real-time
    static archi::Int32 load(archi::Int32& src) noexcept {
        return std::atomic_ref<archi::Int32>(src).load(std::memory_order_relaxed);
    }
};

} // namespace ulk::conc
