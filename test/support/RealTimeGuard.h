#pragma once

#include <string>

namespace test {

// Watches the calling thread, from construction to destruction, for what real-time code must not
// do: allocate or free memory, take a lock, make a system call. Interposes the C library's
// functions and traps system calls in the kernel; under a sanitizer, whose own runtime gets in the
// way, memory alone is watched. Whatever was seen becomes a test failure on destruction.
//     { test::RealTimeGuard guard; plugin.process(block); }
class RealTimeGuard {
public:
    // Uncontended: locks may be taken, but a system call, as a wait makes it, may not.
    enum Locks { Locks_FORBIDDEN, Locks_ALLOWED, Locks_UNCONTENDED };

    explicit RealTimeGuard(Locks locks = Locks_FORBIDDEN);
    ~RealTimeGuard();

    RealTimeGuard(RealTimeGuard const&) = delete;
    RealTimeGuard& operator=(RealTimeGuard const&) = delete;

    // Ends the watch early and tells what was seen, empty when nothing was.
    std::string stop();

    // Whether locks and system calls are watched too in this build.
    static bool is_complete();

private:
    bool _running_flag = true;
};

} // namespace test
