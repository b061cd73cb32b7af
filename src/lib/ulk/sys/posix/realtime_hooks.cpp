// Functions that stand in for those of the C library and tell the real-time guard of each call.
// Not part of the archive, where they would get into everything that calls malloc: a program that
// uses the guard links the object library realtime_hooks.

#include "ulk/sys/RealTimeGuard.h"

#include <cerrno>
#include <cstddef>

#include <dlfcn.h>
#include <pthread.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ULK_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ULK_SANITIZED 1
#endif
#endif

using ulk::sys::RealTimeGuard;

#ifdef ULK_SANITIZED

extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*malloc_hook)(volatile void const*,
                                                                             std::size_t),
                                                         void (*free_hook)(volatile void const*));

namespace {

[[maybe_unused]] bool const announced_flag =
    __sanitizer_install_malloc_and_free_hooks(
        [](volatile void const*, std::size_t) { RealTimeGuard::note_memory(); },
        [](volatile void const*) { RealTimeGuard::note_memory(); }) != 0 &&
    RealTimeGuard::announce_hooks(false);

} // namespace

#else

namespace {

[[maybe_unused]] bool const announced_flag = RealTimeGuard::announce_hooks(true);

// The function for which the one of this name here stands in.
template <class Fnc>
Fnc* find_next(char const* name) {
    return reinterpret_cast<Fnc*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

// Seen by the libraries too, those loaded later included.
#pragma GCC visibility push(default)

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* ptr, std::size_t size);
void* __libc_memalign(std::size_t align, std::size_t size);
void __libc_free(void* ptr);

void* malloc(std::size_t size) {
    RealTimeGuard::note_memory();
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    RealTimeGuard::note_memory();
    return __libc_calloc(count, size);
}

void* realloc(void* ptr, std::size_t size) {
    RealTimeGuard::note_memory();
    return __libc_realloc(ptr, size);
}

void* aligned_alloc(std::size_t align, std::size_t size) {
    RealTimeGuard::note_memory();
    return __libc_memalign(align, size);
}

void* memalign(std::size_t align, std::size_t size) {
    RealTimeGuard::note_memory();
    return __libc_memalign(align, size);
}

int posix_memalign(void** ptr, std::size_t align, std::size_t size) {
    RealTimeGuard::note_memory();
    void* const area = __libc_memalign(align, size);
    if (area == nullptr) {
        return ENOMEM;
    }
    *ptr = area;
    return 0;
}

void free(void* ptr) {
    RealTimeGuard::note_memory();
    __libc_free(ptr);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    static auto* const next = find_next<int(pthread_mutex_t*)>("pthread_mutex_lock");
    RealTimeGuard::note_lock();
    return next(mutex);
}

int pthread_mutex_trylock(pthread_mutex_t* mutex) {
    static auto* const next = find_next<int(pthread_mutex_t*)>("pthread_mutex_trylock");
    RealTimeGuard::note_lock();
    return next(mutex);
}

int pthread_rwlock_rdlock(pthread_rwlock_t* lock) {
    static auto* const next = find_next<int(pthread_rwlock_t*)>("pthread_rwlock_rdlock");
    RealTimeGuard::note_lock();
    return next(lock);
}

int pthread_rwlock_wrlock(pthread_rwlock_t* lock) {
    static auto* const next = find_next<int(pthread_rwlock_t*)>("pthread_rwlock_wrlock");
    RealTimeGuard::note_lock();
    return next(lock);
}

int pthread_spin_lock(pthread_spinlock_t* lock) {
    static auto* const next = find_next<int(pthread_spinlock_t*)>("pthread_spin_lock");
    RealTimeGuard::note_lock();
    return next(lock);
}
}

#pragma GCC visibility pop

#endif
