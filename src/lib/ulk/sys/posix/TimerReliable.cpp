#include "ulk/sys/TimerReliable.h"

#include <time.h>

namespace ulk::sys {

double TimerReliable::get() const {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return conv_ns_to_sec(static_cast<archi::UInt64>(now.tv_sec) * 1000000000U +
                          static_cast<archi::UInt64>(now.tv_nsec));
}

double TimerReliable::conv_ns_to_sec(archi::UInt64 ns) {
    auto const high = static_cast<archi::UInt32>(ns >> 32);
    auto const low = static_cast<archi::UInt32>(ns);
    return high * 4.294967295 + low * 1e-9;
}

} // namespace ulk::sys
