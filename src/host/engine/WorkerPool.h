#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace ulk::host::engine {

// Threads that share the steps of one job after the other with the caller. Between jobs that follow
// each other quickly they spin, then sleep.
class WorkerPool {
public:
    // nbr_jobs: threads in all, the caller's included; 1 or more. Fewer when the system gives no
    // more.
    explicit WorkerPool(int nbr_jobs);
    ~WorkerPool();

    WorkerPool(WorkerPool const&) = delete;
    WorkerPool& operator=(WorkerPool const&) = delete;

    // Calls step(0) to step(nbr_steps - 1), each once, in any order and on any of the threads;
    // returns when all are done. A step that throws ends the job at its end with that exception.
    void run(int nbr_steps, std::function<void(int)> const& step);

private:
    void work();
    void take_steps();

    std::vector<std::thread> _thread_arr;
    std::function<void(int)> const* _step = nullptr;
    std::exception_ptr _exception;
    std::atomic<bool> _failed_flag = false;
    int _nbr_steps = 0;
    std::atomic<int> _next = 0;     // step
    std::atomic<unsigned> _job = 0; // counts the jobs
    std::atomic<int> _nbr_busy = 0; // threads that have not finished the job
    std::atomic<bool> _stop_flag = false;
};

} // namespace ulk::host::engine
