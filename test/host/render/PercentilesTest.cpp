#include "host/render/Percentiles.h"

#include "support/RealTimeGuard.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using ulk::host::render::Percentiles;

namespace {

// Nearest rank, over all that was added.
double find_in_list(std::vector<std::int64_t> list, double ratio) {
    std::sort(list.begin(), list.end());
    auto const rank = std::ceil(ratio * static_cast<double>(list.size()));
    return static_cast<double>(list[static_cast<std::size_t>(std::max(1.0, rank)) - 1]);
}

} // namespace

TEST(PercentilesTest, CountBelowIsExactAtTheStepsOfAHistogram) {
    Percentiles percentiles;
    for (std::int64_t const ns : {0, 999, 1000, 1001, 1999, 2000, 63999, 64000}) {
        percentiles.add(ns);
    }
    EXPECT_EQ(2, percentiles.count_below(1000));
    EXPECT_EQ(5, percentiles.count_below(2000));
    EXPECT_EQ(6, percentiles.count_below(32000));
    EXPECT_EQ(7, percentiles.count_below(64000));
    EXPECT_EQ(8, percentiles.count_below(128000));
}

TEST(PercentilesTest, AreWithinOnePercentOfASortedList) {
    std::mt19937_64 rng(1);
    for (double const octaves : {1., 6., 20., 62.}) {
        Percentiles percentiles;
        std::vector<std::int64_t> list;
        std::uniform_real_distribution<double> exponent(0, octaves);
        for (int k = 0; k < 5000; ++k) {
            list.push_back(static_cast<std::int64_t>(std::exp2(exponent(rng))));
            test::RealTimeGuard guard;
            percentiles.add(list.back());
        }
        for (double const ratio : {0., 0.001, 0.5, 0.9, 0.99, 0.999, 1.}) {
            double const expected = find_in_list(list, ratio);
            EXPECT_NEAR(expected, percentiles.find(ratio), expected * 0.01) << octaves << ratio;
        }
        EXPECT_EQ(*std::max_element(list.begin(), list.end()), percentiles.get_max());
        EXPECT_EQ(5000, percentiles.get_count());
    }
}

TEST(PercentilesTest, SmallTimesAreExact) {
    Percentiles percentiles;
    for (int ns = 1; ns <= 100; ++ns) {
        percentiles.add(ns);
    }
    for (int ns = 1; ns <= 100; ++ns) {
        EXPECT_EQ(ns, percentiles.find((ns - 0.5) / 100));
    }
}

TEST(PercentilesTest, EndsOfTheScale) {
    Percentiles percentiles;
    EXPECT_EQ(0, percentiles.find(0.5));
    EXPECT_EQ(0, percentiles.get_max());
    percentiles.add(-5);
    EXPECT_EQ(0, percentiles.find(1));
    constexpr auto longest = std::numeric_limits<std::int64_t>::max();
    percentiles.add(longest);
    EXPECT_NEAR(static_cast<double>(longest), percentiles.find(1), 1e17);
    EXPECT_EQ(longest, percentiles.get_max());
    EXPECT_EQ(0, percentiles.find(0.5));
}

TEST(PercentilesTest, SumsOfTwo) {
    Percentiles both, one, other;
    for (int k = 0; k < 1000; ++k) {
        (k % 3 == 0 ? one : other).add(k * 977);
        both.add(k * 977);
    }
    one.add(other);
    EXPECT_EQ(both.get_count(), one.get_count());
    EXPECT_EQ(both.get_max(), one.get_max());
    for (double const ratio : {0.1, 0.5, 0.99}) {
        EXPECT_EQ(both.find(ratio), one.find(ratio));
    }
}
