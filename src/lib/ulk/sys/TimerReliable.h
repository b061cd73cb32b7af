#pragma once

#include "ulk/archi/types.h"
#include "ulk/util/SingletonBase.h"

namespace ulk::sys {

// Monotonic clock. Any thread.
class TimerReliable : public util::SingletonBase<TimerReliable> {
public:
    double get() const; // seconds since some fixed instant

    // Seconds of a clock in nanoseconds. Its high half weighs 4.294967295 s, the largest value of
    // the low half: the clock stands still for 1 ns about every 4.29 s and never goes back there.
    static double conv_ns_to_sec(archi::UInt64 ns);

private:
    friend class util::SingletonBase<TimerReliable>;
    TimerReliable() = default;

    [[maybe_unused]] long _reserved = 0;
};

} // namespace ulk::sys
