#pragma once

#include "ulk/sys/posix/SysCall.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <mutex>
#include <random>
#include <thread>

namespace test {

// A disk that is slow, rests and fails at random, in all threads, as long as it lives.
class FaultyDisk : public ulk::sys::posix::SysCall::Filter {
public:
    using SysCall = ulk::sys::posix::SysCall;
    using Duration = std::chrono::microseconds;

    // How it is for the time being. Ratios are those of calls.
    struct Weather {
        Duration latency{0}; // mean of a call
        Duration stall{0};   // the longest
        double stall_ratio = 0;
        double fail_ratio = 0; // EIO, or ENOSPC for writes
        double odd_ratio = 0;  // moves but a part of the bytes, or is interrupted
    };
    struct Stat {
        long long nbr_calls = 0;
        long long nbr_stalls = 0;
        long long nbr_failures = 0;
    };

    explicit FaultyDisk(unsigned int seed)
        : _rng(seed)
        , _prev_ptr(SysCall::set_filter(this)) {}
    FaultyDisk(FaultyDisk const&) = delete;
    FaultyDisk& operator=(FaultyDisk const&) = delete;
    ~FaultyDisk() override { SysCall::set_filter(_prev_ptr); }

    void set_weather(Weather const& weather) {
        std::lock_guard const lock(_mutex);
        _weather = weather;
    }
    Stat get_stat() const {
        std::lock_guard const lock(_mutex);
        return _stat;
    }

protected:
    long do_check(SysCall::Op op, long len) override {
        Duration wait{0};
        long answer = 0;
        {
            std::lock_guard const lock(_mutex);
            wait = find_wait();
            answer = find_answer(op, len);
        }
        if (wait > Duration(0)) {
            std::this_thread::sleep_for(wait);
        }
        return answer;
    }

private:
    double draw() { return std::uniform_real_distribution<double>()(_rng); }

    Duration find_wait() {
        ++_stat.nbr_calls;
        bool const stall_flag = draw() < _weather.stall_ratio;
        _stat.nbr_stalls += stall_flag;
        auto const mean = static_cast<double>(_weather.latency.count());
        double const len = stall_flag ? draw() * static_cast<double>(_weather.stall.count())
                                      : -std::log(1 - draw()) * mean;
        return Duration(static_cast<Duration::rep>(len));
    }
    long find_answer(SysCall::Op op, long len) {
        if (draw() < _weather.fail_ratio) {
            ++_stat.nbr_failures;
            return op == SysCall::Op_WRITE ? -ENOSPC : -EIO;
        }
        if (draw() < _weather.odd_ratio && op != SysCall::Op_CLOSE) { // which is made but once
            return len > 1 && draw() < 0.5
                       ? 1 + static_cast<long>(draw() * static_cast<double>(len))
                       : -EINTR;
        }
        return 0;
    }

    mutable std::mutex _mutex;
    std::mt19937 _rng;
    Weather _weather;
    Stat _stat;
    SysCall::Filter* _prev_ptr;
};

} // namespace test
