#include "ulk/sys/Interlocked.h"

#include "ulk/conc/AioAdd.h"
#include "ulk/conc/AioAddMod.h"
#include "ulk/conc/RetryLoop.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

using ulk::archi::Int32;
using ulk::archi::Int64;
using ulk::conc::AioAdd;
using ulk::conc::AioAddMod;
using ulk::conc::RetryLoop;
using ulk::sys::Interlocked;

TEST(InterlockedTest, ExchangeGivesThePreviousValue) {
    Int32 i32 = 7;
    EXPECT_EQ(7, Interlocked::exchange_int32(i32, -8));
    EXPECT_EQ(-8, i32);
    Int64 i64 = 1LL << 40;
    EXPECT_EQ(1LL << 40, Interlocked::exchange_int64(i64, -(1LL << 50)));
    EXPECT_EQ(-(1LL << 50), i64);
    int a = 0;
    void* ptr = &a;
    EXPECT_EQ(&a, Interlocked::exchange_ptr(ptr, nullptr));
    EXPECT_EQ(nullptr, ptr);
}

TEST(InterlockedTest, CompareExchangeGivesTheComparandOrTheExchangeValue) {
    Int32 i32 = 7;
    EXPECT_EQ(7, Interlocked::compare_exchange_int32(i32, 9, 7));
    EXPECT_EQ(9, i32);
    EXPECT_EQ(5, Interlocked::compare_exchange_int32(i32, 5, 7)); // not the 9 in memory
    EXPECT_EQ(9, i32);
    Int64 i64 = 1LL << 40;
    EXPECT_EQ(1LL << 40, Interlocked::compare_exchange_int64(i64, 3, 1LL << 40));
    EXPECT_EQ(3, i64);
    EXPECT_EQ(4, Interlocked::compare_exchange_int64(i64, 4, (1LL << 40) + 3));
    EXPECT_EQ(3, i64);
    int a = 0;
    int b = 0;
    void* ptr = &a;
    EXPECT_EQ(&a, Interlocked::compare_exchange_ptr(ptr, &b, &a));
    EXPECT_EQ(&b, ptr);
    EXPECT_EQ(nullptr, Interlocked::compare_exchange_ptr(ptr, nullptr, &a));
    EXPECT_EQ(&b, ptr);
}

TEST(InterlockedTest, ExchangeLosesNoValueBetweenThreads) {
    constexpr int nbr = 20000;
    Int64 word = 0;
    std::vector<Int64> got[2];
    auto const run = [&](int who) {
        for (int i = 0; i < nbr; ++i) {
            got[who].push_back(Interlocked::exchange_int64(word, who * nbr + i + 1));
        }
    };
    std::thread other(run, 1);
    run(0);
    other.join();
    std::set<Int64> all(got[0].begin(), got[0].end());
    all.insert(got[1].begin(), got[1].end());
    all.insert(word);
    EXPECT_EQ(2U * nbr + 1, all.size()); // each value put in came out once
}

TEST(RetryLoopTest, Operators) {
    EXPECT_EQ(12, AioAdd<long>(5)(7));
    EXPECT_EQ(-2, AioAdd<long>(-9)(7));
    EXPECT_EQ(1, AioAddMod<long>(5, 8)(4));
    EXPECT_EQ(0, AioAddMod<long>(1, 64)(63));
    EXPECT_EQ(-1, AioAddMod<long>(-5, 8)(4)); // the remainder is signed
    EXPECT_EQ(0, AioAddMod<long>(-4, 8)(-4));
    Int32 word = 62;
    EXPECT_EQ(63, RetryLoop::update(word, AioAddMod<long>(1, 64)));
    EXPECT_EQ(0, RetryLoop::update(word, AioAddMod<long>(1, 64)));
    EXPECT_EQ(0, word);
    EXPECT_EQ(-3, RetryLoop::update(word, AioAdd<long>(-3)));
    EXPECT_EQ(-3, RetryLoop::update(word, AioAdd<long>(0)));
}

TEST(RetryLoopTest, NoUpdateIsLostBetweenThreads) {
    constexpr int nbr = 50000;
    Int32 sum = 0;
    Int32 pos = 0;
    auto const run = [&] {
        for (int i = 0; i < nbr; ++i) {
            RetryLoop::update(sum, AioAdd<long>(3));
            RetryLoop::update(pos, AioAddMod<long>(1, 7));
        }
    };
    std::thread a(run);
    std::thread b(run);
    run();
    a.join();
    b.join();
    EXPECT_EQ(3 * 3 * nbr, sum);
    EXPECT_EQ(3 * nbr % 7, pos);
}
