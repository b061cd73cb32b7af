#include "ulk/sys/Mutex.h"

#include <pthread.h>

#include <new>
#include <stdexcept>

namespace ulk::sys {

namespace {

pthread_mutex_t* use_native(unsigned char* storage) {
    return std::launder(reinterpret_cast<pthread_mutex_t*>(storage));
}

} // namespace

Mutex::Mutex() {
    init(false, "ulk::sys::Mutex::Mutex(): Cannot create mutex.");
}

Mutex::Mutex(Inheriting) {
    init(true, "ulk::sys::Mutex::Mutex(): Cannot create mutex.");
}

Mutex::Mutex(Mutex const&) {
    init(false, "ulk::sys::Mutex::Mutex(const Mutex &): Cannot create mutex.");
}

Mutex& Mutex::operator=(Mutex const&) noexcept {
    return *this;
}

Mutex::~Mutex() {
    pthread_mutex_destroy(use_native(_storage));
}

void Mutex::lock() const {
    if (pthread_mutex_lock(use_native(_storage)) != 0) {
        throw std::runtime_error("ulk::sys::Mutex::lock(): Cannot lock mutex.");
    }
}

void Mutex::lock_quick() const {
    constexpr int nbr_trials = 500; // of some 20 ns
    for (int trial = 0; trial < nbr_trials; ++trial) {
        if (pthread_mutex_trylock(use_native(_storage)) == 0) {
            return;
        }
    }
    lock();
}

void Mutex::unlock() const {
    if (pthread_mutex_unlock(use_native(_storage)) != 0) {
        throw std::runtime_error("ulk::sys::Mutex::unlock(): Cannot unlock mutex.");
    }
}

void Mutex::init(bool inheriting_flag, char const* err_txt) {
    static_assert(sizeof(pthread_mutex_t) <= sizeof(_storage));
    static_assert(alignof(pthread_mutex_t) <= alignof(Mutex));
    auto* const native = new (_storage) pthread_mutex_t;
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_setprotocol(&attr, PTHREAD_PRIO_INHERIT);
    bool const ok_flag = (inheriting_flag && pthread_mutex_init(native, &attr) == 0) ||
                         pthread_mutex_init(native, nullptr) == 0;
    pthread_mutexattr_destroy(&attr);
    if (!ok_flag) {
        throw std::runtime_error(err_txt);
    }
}

} // namespace ulk::sys
