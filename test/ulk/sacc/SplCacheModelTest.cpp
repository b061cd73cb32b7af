// The cache beside a plain model of it, through long random runs on files on disk.
// TESSITONE_CACHE_STEPS sets the number of steps of a run; each seed is a run of its own.

#include "support/CacheDriver.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace {

long get_nbr_steps() {
    char const* const txt = std::getenv("TESSITONE_CACHE_STEPS");
    return txt != nullptr ? std::atol(txt) : 25000;
}

class SplCacheModelTest : public ::testing::TestWithParam<unsigned long> {};

} // namespace

TEST_P(SplCacheModelTest, RandomOperationsLeaveBothAlike) {
    long const nbr_steps = get_nbr_steps();
    std::mt19937_64 rng(GetParam());
    test::CacheDriver driver([&](unsigned long nbr) { return nbr > 0 ? rng() % nbr : 0; });
    for (long step = 0; step < nbr_steps; ++step) {
        std::string const error = driver.run_step();
        ASSERT_EQ("", error) << "step " << step;
    }
    EXPECT_EQ("", driver.finish());
    for (char const* const txt :
         {"too few cells!", "Not enough free memory.", "to prefetch all", "to lock all",
          "data locked.", "data unlocked.", "data invalidated.", "lock_data(): Requested",
          "invalidate_data(): Requested", "is out file", "prefetch_data(): Unknown",
          "get_data(): Unknown", "push_data(): Unknown", "close_file(): Unknown"}) {
        EXPECT_GT(driver.count_lines(txt), 0) << txt;
    }
    EXPECT_GT(driver.get_nbr_floats_read(), 2 * nbr_steps);
}

INSTANTIATE_TEST_SUITE_P(Seeds, SplCacheModelTest, ::testing::Range(1UL, 10UL));
