#include "host/engine/WorkerPool.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using ulk::host::engine::WorkerPool;

namespace {

class WorkerPoolTest : public ::testing::TestWithParam<int> {};

} // namespace

TEST_P(WorkerPoolTest, EveryStepRunsOnce) {
    WorkerPool pool(GetParam());
    for (int job = 0; job < 2000; ++job) {
        int const nbr_steps = job % 37;
        std::vector<int> count_arr(static_cast<std::size_t>(nbr_steps)); // plain: the pool orders
        pool.run(nbr_steps, [&](int step) { ++count_arr[static_cast<std::size_t>(step)]; });
        for (int const count : count_arr) {
            ASSERT_EQ(1, count);
        }
    }
}

TEST_P(WorkerPoolTest, WhatOneJobWroteTheNextReads) {
    WorkerPool pool(GetParam());
    std::vector<int> val_arr(16, 0);
    for (int job = 0; job < 500; ++job) {
        std::vector<int> next_arr(val_arr.size());
        pool.run(16, [&](int step) {
            auto const place = static_cast<std::size_t>(step);
            next_arr[place] = val_arr[(place + 5) % 16] + 1;
        });
        val_arr = next_arr;
    }
    EXPECT_EQ(std::vector<int>(16, 500), val_arr);
}

TEST_P(WorkerPoolTest, AnExceptionEndsTheJobAndNotThePool) {
    WorkerPool pool(GetParam());
    for (int job = 0; job < 200; ++job) {
        try {
            pool.run(8, [&](int step) {
                if (step == job % 8) {
                    throw std::runtime_error(std::to_string(job));
                }
            });
            FAIL();
        } catch (std::runtime_error const& e) {
            ASSERT_EQ(std::to_string(job), e.what());
        }
        int sum[8] = {};
        pool.run(8, [&](int step) { sum[step] = step; });
        ASSERT_EQ(7, sum[7]);
    }
}

TEST_P(WorkerPoolTest, ThreadsThatNeverWorkedEnd) {
    for (int count = 0; count < 50; ++count) {
        WorkerPool const pool(GetParam());
    }
}

INSTANTIATE_TEST_SUITE_P(Threads, WorkerPoolTest, ::testing::Values(1, 2, 3, 8, 32));
