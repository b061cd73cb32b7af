#pragma once

#include "host/engine/CacheService.h"
#include "host/live/PassTimes.h"

#include <chrono>

namespace ulk::host::live {

// The pass of a device's callback, with its times. real-time
class TimedPass {
public:
    // block_time: s, what the callback has. times outlives the object, and belongs to those who
    // hold a pass.
    TimedPass(engine::CacheService& cache, PassTimes& times, double block_time)
        : _times(times)
        , _block_time(block_time)
        , _pass(cache) {}
    ~TimedPass() {
        std::chrono::nanoseconds const wait = _begun - _asked;
        std::chrono::nanoseconds const work = Clock::now() - _asked;
        _times.waits.add(wait.count());
        _times.works.add(work.count());
        _times.nbr_long_waits += static_cast<double>(wait.count()) * 1e-9 * 10 > _block_time;
    }

    TimedPass(TimedPass const&) = delete;
    TimedPass& operator=(TimedPass const&) = delete;

private:
    using Clock = std::chrono::steady_clock;

    PassTimes& _times;
    double _block_time;
    Clock::time_point const _asked = Clock::now();
    engine::CacheService::Pass const _pass;
    Clock::time_point const _begun = Clock::now();
};

} // namespace ulk::host::live
