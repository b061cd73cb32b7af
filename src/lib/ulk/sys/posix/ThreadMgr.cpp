#include "ulk/sys/ThreadMgr.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace ulk::sys {

void ThreadMgr::yield() {
    sched_yield();
}

void ThreadMgr::sleep(double seconds) {
    double const us = seconds * 1e6;
    double const us_max = 4294967295.0;
    usleep(us > 0 ? static_cast<useconds_t>(us < us_max ? us : us_max) : 0);
}

unsigned long ThreadMgr::get_current_thread_id() {
    // The question costs a system call, the answer never changes.
    thread_local auto const id = static_cast<unsigned long>(gettid());
    return id;
}

unsigned long ThreadMgr::get_invalid_thread_id() {
    return 0;
}

bool ThreadMgr::make_real_time(int priority) {
    sched_param param = {};
    param.sched_priority = priority;
    return pthread_setschedparam(pthread_self(), SCHED_FIFO, &param) == 0;
}

bool ThreadMgr::is_real_time() {
    int policy = SCHED_OTHER;
    sched_param param = {};
    return pthread_getschedparam(pthread_self(), &policy, &param) == 0 &&
           (policy == SCHED_FIFO || policy == SCHED_RR);
}

void ThreadMgr::hold_cancel() {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
}

void ThreadMgr::allow_cancel() {
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
}

int ThreadMgr::count_nbr_logical_proc() {
    long const nbr = sysconf(_SC_NPROCESSORS_ONLN);
    return nbr > 0 ? static_cast<int>(nbr) : 1;
}

void ThreadMgr::set_thread_name(char const*) {}

int ThreadMgr::set_priority(Priority prio) {
    constexpr int err_set_priority = -2946;
    auto const self = static_cast<id_t>(gettid());
    return setpriority(PRIO_PROCESS, self, -static_cast<int>(prio)) == 0 ? 0 : err_set_priority;
}

} // namespace ulk::sys
