#pragma once

#include <atomic>

namespace ulk::conc {

// A value that one thread writes and others may read beside it as a snapshot: no order with other
// values, and no cost beyond that of a plain variable.
template <class T>
class Relaxed {
public:
    Relaxed(T val)
        : _val(val) {}
    Relaxed(Relaxed const& other)
        : _val(static_cast<T>(other)) {}

    Relaxed& operator=(T val) {
        _val.store(val, std::memory_order_relaxed);
        return *this;
    }
    Relaxed& operator=(Relaxed const& other) { return *this = static_cast<T>(other); }
    operator T() const { return _val.load(std::memory_order_relaxed); }

private:
    std::atomic<T> _val;

    static_assert(std::atomic<T>::is_always_lock_free);
};

} // namespace ulk::conc
