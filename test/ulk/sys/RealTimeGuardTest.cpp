#include "support/RealTimeGuard.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <unistd.h>

using test::RealTimeGuard;

TEST(RealTimeGuardTest, SeesNothingInPlainWork) {
    int volatile sum = 0;
    RealTimeGuard guard;
    for (int i = 0; i < 1000; ++i) {
        sum = sum + i;
    }
    EXPECT_EQ("", guard.stop());
}

TEST(RealTimeGuardTest, SeesMemory) {
    int* volatile ptr = nullptr;
    RealTimeGuard guard;
    ptr = new int(1);
    delete ptr;
    EXPECT_EQ("2 memory calls", guard.stop());
}

TEST(RealTimeGuardTest, SeesMemoryOfEveryForm) {
    void* volatile ptr = nullptr;
    RealTimeGuard guard;
    ptr = std::malloc(1);
    ptr = std::realloc(ptr, 1 << 20);
    std::free(ptr);
    ptr = std::calloc(3, 5);
    std::free(ptr);
    ptr = std::aligned_alloc(64, 64);
    std::free(ptr);
    void* area = nullptr;
    bool const ok_flag = ::posix_memalign(&area, 64, 100) == 0;
    std::free(area);
    std::string const txt = guard.stop();
    EXPECT_TRUE(ok_flag);
    if (RealTimeGuard::is_complete()) {
        EXPECT_EQ(0u, txt.find("9 memory calls")) << txt; // the kernel may have its part in it
    } else {
        EXPECT_NE(std::string::npos, txt.find(" memory calls")) << txt;
    }
}

TEST(RealTimeGuardTest, SeesLocksUnlessAllowed) {
    std::mutex mutex;
    std::shared_mutex shared;
    for (auto const locks : {RealTimeGuard::Locks_FORBIDDEN, RealTimeGuard::Locks_ALLOWED,
                             RealTimeGuard::Locks_UNCONTENDED}) {
        RealTimeGuard guard(locks);
        mutex.lock();
        mutex.unlock();
        shared.lock();
        shared.unlock();
        shared.lock_shared();
        shared.unlock_shared();
        if (mutex.try_lock()) {
            mutex.unlock();
        }
        bool const forbidden_flag =
            RealTimeGuard::is_complete() && locks == RealTimeGuard::Locks_FORBIDDEN;
        EXPECT_EQ(forbidden_flag ? "4 locks" : "", guard.stop());
    }
}

TEST(RealTimeGuardTest, SeesWaitingForALockThatMayBeTaken) {
    if (!RealTimeGuard::is_complete()) {
        GTEST_SKIP() << "system calls are not watched in this build";
    }
    std::timed_mutex mutex;
    mutex.lock();
    std::thread other([&mutex] {
        RealTimeGuard guard(RealTimeGuard::Locks_UNCONTENDED);
        bool const taken_flag = mutex.try_lock_for(std::chrono::milliseconds(5));
        EXPECT_EQ(0u, guard.stop().find("system call "));
        EXPECT_FALSE(taken_flag);
    });
    other.join();
    mutex.unlock();
}

TEST(RealTimeGuardTest, SeesSystemCalls) {
    auto const parent = ::getppid();
    RealTimeGuard guard;
    auto const watched = ::getppid();
    EXPECT_EQ(RealTimeGuard::is_complete(), guard.stop().rfind("system call ", 0) == 0);
    EXPECT_EQ(parent, watched); // it runs all the same
}

TEST(RealTimeGuardTest, RestsWhilePaused) {
    int* volatile ptr = nullptr;
    RealTimeGuard guard;
    {
        RealTimeGuard::Pause const pause;
        ptr = new int(1);
        delete ptr;
        ::getppid();
    }
    ptr = new int(1);
    EXPECT_EQ("1 memory calls", guard.stop());
    delete ptr;
}

TEST(RealTimeGuardTest, WatchesItsOwnThreadAlone) {
    RealTimeGuard::Pause const rest; // of nothing
    std::thread other;
    {
        RealTimeGuard guard(RealTimeGuard::Locks_ALLOWED);
        {
            RealTimeGuard::Pause const pause;
            other = std::thread([] { std::make_unique<int>(1); });
        }
        EXPECT_EQ("", guard.stop());
    }
    other.join();
}

TEST(RealTimeGuardTest, TellsWhere) {
    int* volatile ptr = nullptr;
    RealTimeGuard guard;
    ptr = new int(1);
    EXPECT_NE("", guard.stop());
    EXPECT_NE(std::string::npos, RealTimeGuard::get_stack().find("test_ulk_sys"));
    delete ptr;
}

TEST(RealTimeGuardDeathTest, EndsTheProcessWithAStack) {
    int* volatile ptr = nullptr;
    EXPECT_DEATH(
        {
            RealTimeGuard const guard;
            ptr = new int(1);
        },
        "real-time code did: 1 memory calls\n.*test_ulk_sys");
    delete ptr;
}
