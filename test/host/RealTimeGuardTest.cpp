#include "support/RealTimeGuard.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
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
    EXPECT_EQ("2 memory calls ", guard.stop());
}

TEST(RealTimeGuardTest, SeesLocksUnlessAllowed) {
    std::mutex mutex;
    for (auto const locks : {RealTimeGuard::Locks_FORBIDDEN, RealTimeGuard::Locks_ALLOWED}) {
        RealTimeGuard guard(locks);
        mutex.lock();
        mutex.unlock();
        bool const seen_flag = !guard.stop().empty();
        EXPECT_EQ(RealTimeGuard::is_complete() && locks == RealTimeGuard::Locks_FORBIDDEN,
                  seen_flag);
    }
}

TEST(RealTimeGuardTest, SeesSystemCalls) {
    RealTimeGuard guard;
    ::getppid();
    EXPECT_EQ(RealTimeGuard::is_complete(), guard.stop().rfind("system call ", 0) == 0);
}
