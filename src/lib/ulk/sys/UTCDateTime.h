#pragma once

#include "ulk/archi/types.h"

namespace ulk::sys {

// A time stamp of the file system: whole seconds since 1970, UTC, and nanoseconds, 0 to 999999999.
struct UTCDateTime {
    archi::Int64 sec = 0;
    archi::Int32 nsec = 0;
};

} // namespace ulk::sys
