#include "ulk/sys/Mutex.h"
#include "ulk/sys/CritSec.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>

using ulk::sys::CritSec;
using ulk::sys::Mutex;

namespace {

thread_local bool fail_init_flag = false;

} // namespace

// Stands before the one of the C library, which fails only when memory is short.
extern "C" int pthread_mutex_init(pthread_mutex_t* mutex,
                                  pthread_mutexattr_t const* attr) noexcept {
    using Fnc = int (*)(pthread_mutex_t*, pthread_mutexattr_t const*);
    static Fnc const real = reinterpret_cast<Fnc>(dlsym(RTLD_NEXT, "pthread_mutex_init"));
    return fail_init_flag ? EAGAIN : real(mutex, attr);
}

namespace {

std::string text_of(auto const& fnc) {
    try {
        fnc();
    } catch (std::runtime_error const& e) {
        return e.what();
    }
    return "nothing thrown";
}

// The bytes of a mutex made such that the C library refuses it.
class Broken {
public:
    explicit Broken(Mutex& mutex)
        : _mutex(mutex) {
        std::memcpy(_saved, static_cast<void*>(&mutex), sizeof(mutex));
        std::memset(static_cast<void*>(&mutex), 0xFF, sizeof(mutex));
    }
    ~Broken() { std::memcpy(static_cast<void*>(&_mutex), _saved, sizeof(_mutex)); }

private:
    Mutex& _mutex;
    unsigned char _saved[sizeof(Mutex)];
};

bool is_free(Mutex const& mutex) { // by another thread, which gives up after a while
    std::atomic<bool> got_flag{false};
    std::thread other([&] {
        CritSec const lock(mutex, true);
        got_flag = true;
    });
    other.join();
    return got_flag;
}

} // namespace

TEST(MutexTest, FailuresHaveTheirTexts) {
    Mutex mutex;
    fail_init_flag = true;
    EXPECT_EQ("ulk::sys::Mutex::Mutex(): Cannot create mutex.", text_of([] { Mutex m; }));
    EXPECT_EQ("ulk::sys::Mutex::Mutex(const Mutex &): Cannot create mutex.",
              text_of([&] { Mutex m(mutex); }));
    fail_init_flag = false;
    Broken const broken(mutex);
    EXPECT_EQ("ulk::sys::Mutex::lock(): Cannot lock mutex.", text_of([&] { mutex.lock(); }));
    EXPECT_EQ("ulk::sys::Mutex::lock(): Cannot lock mutex.", text_of([&] { mutex.lock_quick(); }));
    EXPECT_EQ("ulk::sys::Mutex::unlock(): Cannot unlock mutex.", text_of([&] { mutex.unlock(); }));
}

TEST(MutexTest, ACopyIsANewUnlockedMutex) {
    Mutex a;
    a.lock();
    Mutex b(a);
    EXPECT_TRUE(is_free(b));
    b.lock(); // would stand still if it were locked
    a.unlock();
    EXPECT_TRUE(is_free(a)); // locking the copy did not lock the source
    unsigned char before[sizeof(Mutex)];
    std::memcpy(before, static_cast<void*>(&a), sizeof(a));
    EXPECT_EQ(&a, &(a = b)); // b is locked, a stays free
    EXPECT_EQ(0, std::memcmp(before, static_cast<void*>(&a), sizeof(a)));
    EXPECT_TRUE(is_free(a));
    b.unlock();
    EXPECT_TRUE(is_free(b));
}

TEST(MutexTest, AConstMutexLocks) {
    Mutex const mutex;
    mutex.lock();
    mutex.unlock();
    EXPECT_TRUE(is_free(mutex));
}

TEST(MutexTest, GuardsASum) {
    Mutex mutex;
    long sum = 0;
    auto const run = [&] {
        for (int i = 0; i < 20000; ++i) {
            CritSec const lock(mutex, true);
            sum += i;
        }
    };
    std::thread a(run);
    run();
    a.join();
    EXPECT_EQ(2L * (19999L * 20000L / 2), sum);
}

TEST(CritSecTest, NotEnteredNeverTouchesTheMutex) {
    Mutex mutex;
    Broken const broken(mutex); // any touch throws
    CritSec lock(mutex, false);
    lock.leave();
}

TEST(CritSecTest, EnterAndLeaveDoNothingTwice) {
    Mutex mutex;
    CritSec lock(mutex, true);
    lock.enter(); // a second lock would stand still
    lock.leave();
    EXPECT_TRUE(is_free(mutex));
    lock.leave();
    EXPECT_TRUE(is_free(mutex));
    lock.enter();
    lock.leave();
    EXPECT_TRUE(is_free(mutex));
    static_assert(std::has_virtual_destructor_v<CritSec>);
}

TEST(CritSecTest, LeavesAtTheEndOfItsScope) {
    Mutex mutex;
    { CritSec const lock(mutex, true); }
    EXPECT_TRUE(is_free(mutex));
    {
        CritSec lock(mutex, false);
        lock.enter();
    }
    EXPECT_TRUE(is_free(mutex));
}

TEST(CritSecTest, AFailedLeaveIsToldOnce) {
    Mutex mutex;
    std::string const txt = text_of([&] {
        CritSec lock(mutex, true);
        Broken const broken(mutex);
        lock.leave(); // throws, and the destructor does not try again
    });
    EXPECT_EQ("ulk::sys::Mutex::unlock(): Cannot unlock mutex.", txt);
    mutex.unlock();
}

TEST(MutexTest, AQuickLockExcludesOthersHoweverLongTheyHoldIt) {
    Mutex const mutex;
    long sum = 0;
    auto const work = [&](bool slow_flag) {
        for (int round = 0; round < (slow_flag ? 10 : 20000); ++round) {
            mutex.lock_quick();
            long const val = sum;
            if (slow_flag) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            sum = val + 1;
            mutex.unlock();
        }
    };
    std::thread slow(work, true);
    std::thread quick(work, false);
    work(false);
    slow.join();
    quick.join();
    EXPECT_EQ(40010, sum);
}
