#include "support/RealTimeGuard.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <pthread.h>
#include <signal.h>
#include <sys/prctl.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TEST_SANITIZED 1
#endif
#endif

namespace {

struct Watch {
    bool active_flag = false;
    bool locks_flag = false; // locks are allowed
    bool calls_flag = false; // system calls are allowed
    long nbr_alloc = 0;
    long nbr_lock = 0;
    long nbr_syscall = 0;
    long first_syscall = -1;
};

// Constant-initialised, so that reading it from malloc never allocates.
thread_local Watch watch;

void note_alloc() {
    watch.nbr_alloc += watch.active_flag;
}

} // namespace

#ifdef TEST_SANITIZED

extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(volatile void const*,
                                                                             std::size_t),
                                                         void (*free_hook)(volatile void const*));

namespace {

void trap_syscalls(bool) {}

bool const hooks_flag = __sanitizer_install_malloc_and_free_hooks(
                            [](volatile void const*, std::size_t) { note_alloc(); },
                            [](volatile void const*) { note_alloc(); }) != 0;

} // namespace

bool test::RealTimeGuard::is_complete() {
    return false;
}

#else

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* ptr, std::size_t size);
void* __libc_memalign(std::size_t align, std::size_t size);
void __libc_free(void* ptr);

void* malloc(std::size_t size) {
    note_alloc();
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    note_alloc();
    return __libc_calloc(count, size);
}

void* realloc(void* ptr, std::size_t size) {
    note_alloc();
    return __libc_realloc(ptr, size);
}

void* aligned_alloc(std::size_t align, std::size_t size) {
    note_alloc();
    return __libc_memalign(align, size);
}

void free(void* ptr) {
    note_alloc();
    __libc_free(ptr);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    using Fnc = int (*)(pthread_mutex_t*);
    static Fnc const next = reinterpret_cast<Fnc>(::dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    watch.nbr_lock += watch.active_flag && !watch.locks_flag;
    return next(mutex);
}
}

namespace {

#ifndef PR_SET_SYSCALL_USER_DISPATCH
constexpr int PR_SET_SYSCALL_USER_DISPATCH = 59;
#endif

// Read by the kernel at each system call of the thread: 1 traps it.
thread_local volatile char selector = 0;

// The first call of a watch is noted; the rest of the watch runs free, the handler's return too.
void on_syscall(int, siginfo_t* info, void*) {
    selector = 0;
    if (!watch.calls_flag) {
        ++watch.nbr_syscall;
        watch.first_syscall = info->si_syscall;
    }
}

bool install_trap() {
    struct sigaction action = {};
    action.sa_sigaction = &on_syscall;
    action.sa_flags = SA_SIGINFO;
    ::sigaction(SIGSYS, &action, nullptr);
    return true;
}

void trap_syscalls(bool on) {
    if (on) {
        static bool const installed_flag = install_trap();
        static thread_local bool const enabled_flag =
            installed_flag && ::prctl(PR_SET_SYSCALL_USER_DISPATCH, 1, 0, 0, &selector) == 0;
        selector = enabled_flag;
    } else {
        selector = 0;
    }
}

} // namespace

bool test::RealTimeGuard::is_complete() {
    return true;
}

#endif

namespace test {

RealTimeGuard::RealTimeGuard(Locks locks) {
    watch = Watch();
    watch.locks_flag = locks != Locks_FORBIDDEN;
    watch.calls_flag = locks == Locks_ALLOWED;
    watch.active_flag = true;
    trap_syscalls(true);
}

RealTimeGuard::~RealTimeGuard() {
    std::string const text = stop();
    if (!text.empty()) {
        ADD_FAILURE() << "real-time code did " << text;
    }
}

std::string RealTimeGuard::stop() {
    if (!_running_flag) {
        return {};
    }
    trap_syscalls(false);
    watch.active_flag = false;
    _running_flag = false;
    std::string text;
    if (watch.nbr_alloc > 0) {
        text += std::to_string(watch.nbr_alloc) + " memory calls ";
    }
    if (watch.nbr_lock > 0) {
        text += std::to_string(watch.nbr_lock) + " locks ";
    }
    if (watch.nbr_syscall > 0) {
        text += "system call " + std::to_string(watch.first_syscall) + " ";
    }
    return text;
}

} // namespace test
