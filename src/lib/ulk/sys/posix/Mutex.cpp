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
    init("ulk::sys::Mutex::Mutex(): Cannot create mutex.");
}

Mutex::Mutex(Mutex const&) {
    init("ulk::sys::Mutex::Mutex(const Mutex &): Cannot create mutex.");
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

void Mutex::unlock() const {
    if (pthread_mutex_unlock(use_native(_storage)) != 0) {
        throw std::runtime_error("ulk::sys::Mutex::unlock(): Cannot unlock mutex.");
    }
}

void Mutex::init(char const* err_txt) {
    static_assert(sizeof(pthread_mutex_t) <= sizeof(_storage));
    static_assert(alignof(pthread_mutex_t) <= alignof(Mutex));
    if (pthread_mutex_init(new (_storage) pthread_mutex_t, nullptr) != 0) {
        throw std::runtime_error(err_txt);
    }
}

} // namespace ulk::sys
