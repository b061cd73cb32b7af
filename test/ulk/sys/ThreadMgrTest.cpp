#include "ulk/sys/ThreadMgr.h"
#include "ulk/sys/TimerReliable.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <limits>
#include <thread>

using ulk::sys::ThreadMgr;
using ulk::sys::TimerReliable;

namespace {

thread_local bool record_flag = false; // the calls below are recorded and not made
thread_local unsigned slept_us = 0;
thread_local int asked_nice = 0;
thread_local int priority_result = 0;

} // namespace

extern "C" int usleep(useconds_t us) {
    if (record_flag) {
        slept_us = us;
        return 0;
    }
    timespec const len = {us / 1000000, static_cast<long>(us % 1000000) * 1000};
    return nanosleep(&len, nullptr);
}

extern "C" int setpriority(__priority_which_t, id_t, int nice_val) noexcept {
    asked_nice = nice_val;
    return priority_result;
}

namespace {

unsigned us_asked_for(double seconds) {
    slept_us = 12345;
    record_flag = true;
    ThreadMgr::sleep(seconds);
    record_flag = false;
    return slept_us;
}

} // namespace

TEST(ThreadMgrTest, SleepClampsToTheRangeOfItsWord) {
    EXPECT_EQ(0U, us_asked_for(-1.0));
    EXPECT_EQ(0U, us_asked_for(-1e300));
    EXPECT_EQ(0U, us_asked_for(0.0));
    EXPECT_EQ(0U, us_asked_for(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(0U, us_asked_for(0.9e-6));
    EXPECT_EQ(1U, us_asked_for(1.9e-6)); // cut, not rounded
    EXPECT_EQ(1500000U, us_asked_for(1.5));
    EXPECT_EQ(4294967295U, us_asked_for(1e9));
    EXPECT_EQ(4294967295U, us_asked_for(std::numeric_limits<double>::infinity()));
}

TEST(ThreadMgrTest, SleepTakesItsTime) {
    auto const& clock = TimerReliable::use_instance();
    double const beg = clock.get();
    ThreadMgr::sleep(0.01);
    EXPECT_GE(clock.get() - beg, 0.01 - 1e-8);
}

TEST(ThreadMgrTest, Identifiers) {
    EXPECT_EQ(0U, ThreadMgr::get_invalid_thread_id());
    unsigned long const here = ThreadMgr::get_current_thread_id();
    unsigned long there = 0;
    std::thread([&] { there = ThreadMgr::get_current_thread_id(); }).join();
    EXPECT_NE(0U, here);
    EXPECT_NE(0U, there);
    EXPECT_NE(here, there);
    EXPECT_EQ(here, ThreadMgr::get_current_thread_id());
}

TEST(ThreadMgrTest, Processors) {
    EXPECT_EQ(sysconf(_SC_NPROCESSORS_ONLN), ThreadMgr::count_nbr_logical_proc());
    ThreadMgr::yield();
    ThreadMgr::set_thread_name("any");
    ThreadMgr::set_thread_name(nullptr);
}

TEST(ThreadMgrTest, PriorityReportsByItsResult) {
    priority_result = 0;
    EXPECT_EQ(0, ThreadMgr::set_priority(ThreadMgr::Priority_LOWEST));
    EXPECT_EQ(-ThreadMgr::Priority_LOWEST, asked_nice);
    EXPECT_EQ(0, ThreadMgr::set_priority(ThreadMgr::Priority_NORMAL));
    EXPECT_EQ(0, asked_nice);
    priority_result = -1;
    EXPECT_EQ(-2946, ThreadMgr::set_priority(ThreadMgr::Priority_HIGHEST));
    EXPECT_EQ(-ThreadMgr::Priority_HIGHEST, asked_nice);
}

// Which the system may refuse.
TEST(ThreadMgrTest, AThreadIsRealTimeWhenItIsTold) {
    std::thread([] {
        EXPECT_FALSE(ThreadMgr::is_real_time());
        EXPECT_FALSE(ThreadMgr::make_real_time(100)); // there is no such priority
        bool const granted_flag = ThreadMgr::make_real_time(1);
        EXPECT_EQ(granted_flag, ThreadMgr::is_real_time());
    }).join();
}

// The request comes while the thread may not take it, at a place that C++ could not leave.
TEST(ThreadMgrTest, AThreadIsCancelledWhereItAllowsIt) {
    struct Steps {
        std::atomic<bool> held_flag = false;
        std::atomic<bool> asked_flag = false;
        std::atomic<int> nbr_done = 0;
    } steps;
    pthread_t thread = {};
    auto const run = [](void* arg) -> void* {
        auto& own = *static_cast<Steps*>(arg);
        pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
        ThreadMgr::hold_cancel();
        own.held_flag = true;
        while (!own.asked_flag) {
        }
        ++own.nbr_done;
        ThreadMgr::allow_cancel();
        ++own.nbr_done;
        return nullptr;
    };
    ASSERT_EQ(0, pthread_create(&thread, nullptr, run, &steps));
    while (!steps.held_flag) {
    }
    ASSERT_EQ(0, pthread_cancel(thread));
    steps.asked_flag = true;
    ASSERT_EQ(0, pthread_join(thread, nullptr));
    EXPECT_EQ(1, steps.nbr_done);
}

TEST(TimerReliableTest, WeightsOfTheTwoHalves) {
    EXPECT_EQ(0.0, TimerReliable::conv_ns_to_sec(0));
    EXPECT_EQ(1e-9, TimerReliable::conv_ns_to_sec(1));
    EXPECT_EQ(1000000000U * 1e-9, TimerReliable::conv_ns_to_sec(1000000000));
    // 2 ^ 32 ns weigh what the largest low half weighs: the clock stands still there.
    EXPECT_EQ(4.294967295, TimerReliable::conv_ns_to_sec(1ULL << 32));
    EXPECT_DOUBLE_EQ(4.294967295, TimerReliable::conv_ns_to_sec((1ULL << 32) - 1));
    EXPECT_EQ(4.294967295 + 1e-9, TimerReliable::conv_ns_to_sec((1ULL << 32) + 1));
    EXPECT_EQ(1000.0 * 4.294967295 + 5.0 * 1e-9,
              TimerReliable::conv_ns_to_sec((1000ULL << 32) + 5));
}

TEST(TimerReliableTest, NeverGoesBackwardsAtACarry) {
    for (unsigned long long high = 1; high < 100000; ++high) {
        double const before = TimerReliable::conv_ns_to_sec((high << 32) - 1);
        double const after = TimerReliable::conv_ns_to_sec(high << 32);
        ASSERT_NEAR(before, after, after * 3e-16) << high; // but for the last bit of the sum
        ASSERT_LT(before, TimerReliable::conv_ns_to_sec((high << 32) + 1000));
    }
}

TEST(TimerReliableTest, RunsForwards) {
    auto const& clock = TimerReliable::use_instance();
    EXPECT_EQ(&clock, &TimerReliable::use_instance());
    double last = clock.get();
    EXPECT_GT(last, 0.0);
    for (int i = 0; i < 10000; ++i) {
        double const now = clock.get();
        ASSERT_GE(now, last);
        last = now;
    }
}
