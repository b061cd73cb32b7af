#include "host/engine/WorkerPool.h"

#include <system_error>
#include <utility>

namespace ulk::host::engine {

namespace {

// Some tens of microseconds: longer than what lies between two blocks.
constexpr int max_spins = 20000;

// Until the value is another one.
template <class T>
void wait_for_change(std::atomic<T> const& value, T old) {
    for (int spin = 0; spin < max_spins; ++spin) {
        if (value.load(std::memory_order_acquire) != old) {
            return;
        }
    }
    value.wait(old, std::memory_order_acquire);
}

} // namespace

WorkerPool::WorkerPool(int nbr_jobs) {
    try {
        for (int index = 1; index < nbr_jobs; ++index) {
            _thread_arr.emplace_back([this] { work(); });
        }
    } catch (std::system_error const&) {
        // The system gives no more of them: those that there are do the work.
    }
}

WorkerPool::~WorkerPool() {
    _stop_flag = true;
    ++_job;
    _job.notify_all();
    for (std::thread& thread : _thread_arr) {
        thread.join();
    }
}

void WorkerPool::run(int nbr_steps, std::function<void(int)> const& step) {
    if (_thread_arr.empty() || nbr_steps < 2) {
        for (int index = 0; index < nbr_steps; ++index) {
            step(index);
        }
        return;
    }
    _step = &step;
    _nbr_steps = nbr_steps;
    _next.store(0, std::memory_order_relaxed);
    _nbr_busy.store(static_cast<int>(_thread_arr.size()), std::memory_order_relaxed);
    _job.fetch_add(1, std::memory_order_release);
    _job.notify_all();
    take_steps();
    for (int busy = _nbr_busy.load(std::memory_order_acquire); busy > 0;
         busy = _nbr_busy.load(std::memory_order_acquire)) {
        wait_for_change(_nbr_busy, busy);
    }
    if (_failed_flag.exchange(false)) {
        std::rethrow_exception(std::exchange(_exception, nullptr));
    }
}

void WorkerPool::work() {
    for (unsigned job = 0; true;) {
        wait_for_change(_job, job);
        ++job;
        if (_stop_flag) {
            return;
        }
        take_steps();
        if (_nbr_busy.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            _nbr_busy.notify_one();
        }
    }
}

void WorkerPool::take_steps() {
    for (int step = _next.fetch_add(1); step < _nbr_steps; step = _next.fetch_add(1)) {
        try {
            (*_step)(step);
        } catch (...) {
            if (!_failed_flag.exchange(true)) {
                _exception = std::current_exception();
            }
        }
    }
}

} // namespace ulk::host::engine
