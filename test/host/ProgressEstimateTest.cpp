#include "host/ProgressEstimate.h"

#include <gtest/gtest.h>

using ulk::host::ProgressEstimate;

TEST(ProgressEstimateTest, SteadyWorkIsToldExactly) {
    ProgressEstimate estimate;
    EXPECT_FALSE(estimate.get_left());
    for (int k = 1; k <= 100; ++k) {
        estimate.update(k * 10, 1000, k * 0.1);
        ASSERT_NEAR(10 - k * 0.1, estimate.get_left().value(), 1e-6);
    }
    EXPECT_EQ(0, estimate.get_left());
}

TEST(ProgressEstimateTest, FollowsAChangeOfSpeed) {
    ProgressEstimate estimate;
    for (int k = 1; k <= 100; ++k) {
        estimate.update(k * 10, 100000, k * 0.1); // 100 a second
    }
    for (int k = 1; k <= 300; ++k) {
        estimate.update(1000 + k, 100000, 10 + k * 0.1); // 10 a second
    }
    EXPECT_NEAR(98700 / 10., estimate.get_left().value(), 300);
}

TEST(ProgressEstimateTest, NothingToGoBy) {
    ProgressEstimate estimate;
    estimate.update(0, 100, 0);
    EXPECT_FALSE(estimate.get_left());
    estimate.update(0, 100, 1);
    EXPECT_FALSE(estimate.get_left());
    estimate.update(10, 100, 1); // no time has passed
    EXPECT_FALSE(estimate.get_left());
    estimate.update(10, 100, 2);
    EXPECT_GT(estimate.get_left().value(), 0);
    estimate.update(120, 100, 3); // more than announced
    EXPECT_EQ(0, estimate.get_left());
}
