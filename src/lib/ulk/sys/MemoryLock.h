#pragma once

namespace ulk::sys {

// Keeps the memory of the process from being swapped out.
class MemoryLock {
public:
    // From now on and for good, all that has been touched stays in memory. False where the system
    // sets a limit to that, which would become one to all memory.
    static bool lock_touched();
};

} // namespace ulk::sys
