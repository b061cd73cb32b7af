#include "ulk/sys/MemoryLock.h"

#include <sys/mman.h>
#include <sys/resource.h>

namespace ulk::sys {

bool MemoryLock::lock_touched() {
    rlimit limit = {};
    if (getrlimit(RLIMIT_MEMLOCK, &limit) != 0) {
        return false;
    }
    if (limit.rlim_cur != RLIM_INFINITY) {
        limit = {RLIM_INFINITY, RLIM_INFINITY};
        if (setrlimit(RLIMIT_MEMLOCK, &limit) != 0) {
            return false;
        }
    }
    return mlockall(MCL_CURRENT | MCL_FUTURE | MCL_ONFAULT) == 0;
}

} // namespace ulk::sys
