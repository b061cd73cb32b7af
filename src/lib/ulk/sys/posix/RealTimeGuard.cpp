#include "ulk/sys/RealTimeGuard.h"

#include <cstdio>
#include <cstdlib>
#include <iterator>

#include <execinfo.h>
#include <signal.h>
#include <sys/prctl.h>
#include <ucontext.h>

namespace ulk::sys {

namespace {

struct Watch {
    bool locks_flag = false; // locks are allowed
    bool calls_flag = false; // system calls are allowed
    long nbr_alloc = 0;
    long nbr_lock = 0;
    long nbr_syscall = 0;
    long first_syscall = -1;
    int nbr_frames = 0;
    void* frame_arr[32] = {}; // of the first violation
};

constinit thread_local Watch watch;
bool complete_flag = false;

// Read by the kernel at each system call of the thread: 1 traps it.
constinit thread_local volatile char selector = 0;

void keep_stack() {
    if (watch.nbr_frames == 0) {
        watch.nbr_frames =
            ::backtrace(watch.frame_arr, static_cast<int>(std::size(watch.frame_arr)));
    }
}

#ifdef __x86_64__
constexpr bool has_trap = true;

// The trapped call has not run, and all registers are as they were: go back before its instruction.
void run_again(ucontext_t& context) {
    constexpr int len = 2; // bytes of "syscall"
    context.uc_mcontext.gregs[REG_RIP] -= len;
}
#else
constexpr bool has_trap = false;

void run_again(ucontext_t&) {}
#endif

// The first call of a watch is noted; the rest of the watch runs free, the handler's return too.
void on_syscall(int, siginfo_t* info, void* context) {
    selector = 0;
    run_again(*static_cast<ucontext_t*>(context));
    if (!watch.calls_flag) {
        RealTimeGuard::Pause const pause;
        ++watch.nbr_syscall;
        watch.first_syscall = info->si_syscall;
        keep_stack();
    }
}

bool install_trap() {
    struct sigaction action = {};
    action.sa_sigaction = &on_syscall;
    action.sa_flags = SA_SIGINFO;
    return ::sigaction(SIGSYS, &action, nullptr) == 0;
}

#ifndef PR_SET_SYSCALL_USER_DISPATCH
constexpr int PR_SET_SYSCALL_USER_DISPATCH = 59;
#endif

bool enable_trap() {
    static bool const installed_flag = install_trap();
    return installed_flag &&
           ::prctl(PR_SET_SYSCALL_USER_DISPATCH, 1, 0, 0, const_cast<char*>(&selector)) == 0;
}

void trap_syscalls() {
    static thread_local bool const enabled_flag = enable_trap();
    selector = enabled_flag;
}

// The first stack of a program loads a library.
bool warm_up() {
    void* frame = nullptr;
    return ::backtrace(&frame, 1) == 1;
}

} // namespace

RealTimeGuard::RealTimeGuard(Locks locks) {
    [[maybe_unused]] static bool const warm_flag = warm_up();
    watch = Watch();
    watch.locks_flag = locks != Locks_FORBIDDEN;
    watch.calls_flag = locks == Locks_ALLOWED;
    _active_flag = true;
    if (complete_flag) {
        trap_syscalls();
    }
}

RealTimeGuard::~RealTimeGuard() {
    std::string const txt = stop();
    if (!txt.empty()) {
        std::fprintf(stderr, "real-time code did: %s\n%s", txt.c_str(), get_stack().c_str());
        std::abort();
    }
}

std::string RealTimeGuard::stop() {
    if (!_running_flag) {
        return {};
    }
    selector = 0;
    _active_flag = false;
    _running_flag = false;
    std::string txt;
    auto const add = [&txt](std::string const& what) { txt += (txt.empty() ? "" : ", ") + what; };
    if (watch.nbr_alloc > 0) {
        add(std::to_string(watch.nbr_alloc) + " memory calls");
    }
    if (watch.nbr_lock > 0) {
        add(std::to_string(watch.nbr_lock) + " locks");
    }
    if (watch.nbr_syscall > 0) {
        add("system call " + std::to_string(watch.first_syscall));
    }
    return txt;
}

std::string RealTimeGuard::get_stack() {
    std::string txt;
    char** const line_arr = ::backtrace_symbols(watch.frame_arr, watch.nbr_frames);
    for (int i = 0; line_arr != nullptr && i < watch.nbr_frames; ++i) {
        txt += std::string("  ") + line_arr[i] + "\n";
    }
    std::free(line_arr);
    return txt;
}

bool RealTimeGuard::is_complete() {
    return complete_flag;
}

bool RealTimeGuard::announce_hooks(bool flag) {
    complete_flag = flag && has_trap;
    return true;
}

void RealTimeGuard::note_memory_watched() {
    Pause const pause;
    ++watch.nbr_alloc;
    keep_stack();
}

void RealTimeGuard::note_lock() {
    if (_active_flag && !watch.locks_flag) {
        Pause const pause;
        ++watch.nbr_lock;
        keep_stack();
    }
}

RealTimeGuard::Pause::Pause()
    : _active_flag(RealTimeGuard::_active_flag)
    , _selector(selector) {
    selector = 0;
    RealTimeGuard::_active_flag = false;
}

RealTimeGuard::Pause::~Pause() {
    RealTimeGuard::_active_flag = _active_flag;
    selector = _selector;
}

} // namespace ulk::sys
