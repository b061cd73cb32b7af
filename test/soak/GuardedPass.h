#pragma once

#include "soak/Verdict.h"
#include "ulk/sys/RealTimeGuard.h"

namespace soak {

// Runs a real-time callback under guard. It may wait for the cache's lock alone; returns whether it
// did.
template <class F>
bool run_guarded(Verdict& verdict, F fnc) {
    using ulk::sys::RealTimeGuard;
    RealTimeGuard guard(RealTimeGuard::Locks_UNCONTENDED);
    fnc();
    std::string const txt = guard.stop();
    bool const wait_flag = txt == "system call 202"; // futex
    if (!txt.empty() && !wait_flag) {
        verdict.fail("real-time code did: " + txt + "\n" + RealTimeGuard::get_stack());
    }
    return wait_flag;
}

} // namespace soak
