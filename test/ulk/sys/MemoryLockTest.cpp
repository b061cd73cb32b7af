#include "ulk/sys/MemoryLock.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using ulk::sys::MemoryLock;

namespace {

// kB of memory that are locked.
long find_locked() {
    std::ifstream file("/proc/self/status");
    for (std::string word; file >> word;) {
        if (word == "VmLck:") {
            long len = 0;
            file >> len;
            return len;
        }
    }
    return -1;
}

} // namespace

TEST(MemoryLockTest, AllThatIsTouchedIsLockedWhereItIsAllowed) {
    EXPECT_EQ(0, find_locked());
    rlimit limit = {};
    ASSERT_EQ(0, getrlimit(RLIMIT_MEMLOCK, &limit));
    bool const locked_flag = MemoryLock::lock_touched();
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    GTEST_SKIP() << "sanitizers lock nothing";
#endif
#endif
    EXPECT_EQ(locked_flag, find_locked() > 0);
    EXPECT_TRUE(locked_flag || limit.rlim_cur != RLIM_INFINITY);
}

// A limit would end the process some time later. In a process of its own, which gives up the
// superuser's rights.
TEST(MemoryLockTest, NothingIsLockedUnderALimit) {
    pid_t const child = ::fork();
    if (child == 0) {
        rlimit const limit = {1 << 20, 1 << 20};
        bool const ready_flag =
            (::geteuid() != 0 || ::seteuid(65534) == 0) && setrlimit(RLIMIT_MEMLOCK, &limit) == 0;
        ::_exit(ready_flag && !MemoryLock::lock_touched() && find_locked() == 0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}
