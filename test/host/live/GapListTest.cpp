#include "host/live/GapList.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using ulk::host::live::GapList;

TEST(GapListTest, PartsOfAGapAreOne) {
    GapList gaps;
    gaps.add(0, 100);
    gaps.add(100, 0);
    gaps.add(100, 50);
    gaps.add(200, 10);
    EXPECT_EQ(2, gaps.get_nbr_gaps());
    EXPECT_EQ(160, gaps.get_nbr_frames());
    ASSERT_EQ(2u, gaps.get_nbr_listed());
    EXPECT_EQ(0, gaps.get_gap(0).pos);
    EXPECT_EQ(150, gaps.get_gap(0).len);
    EXPECT_EQ("  GAP       at 0:00.000: 150 frames of silence\n"
              "  GAP       at 0:02.000: 10 frames of silence\n",
              gaps.print(100));
    EXPECT_EQ(
        nlohmann::json::parse(R"([{"time_s": 0.0, "frames": 150}, {"time_s": 2.0, "frames": 10}])"),
        gaps.make_json(100));
}

TEST(GapListTest, TheFirstOnesAreListedAndAllAreCounted) {
    GapList gaps;
    for (int k = 0; k < 40; ++k) {
        gaps.add(10 * k, 2);
        gaps.add(10 * k + 2, 3);
    }
    EXPECT_EQ(40, gaps.get_nbr_gaps());
    EXPECT_EQ(200, gaps.get_nbr_frames());
    ASSERT_EQ(GapList::max_nbr_listed, gaps.get_nbr_listed());
    EXPECT_EQ(310, gaps.get_gap(31).pos);
    EXPECT_EQ(5, gaps.get_gap(31).len);
    EXPECT_EQ(32u, gaps.make_json(100).size());
    EXPECT_NE(std::string::npos, gaps.print(100).find("and 8 more"));
}

TEST(GapListTest, AFileThatEndsEarlierHasFewer) {
    GapList gaps;
    gaps.cut(5);
    EXPECT_EQ(0, gaps.get_nbr_gaps());
    for (int k = 0; k < 40; ++k) {
        gaps.add(10 * k, 5);
    }
    gaps.cut(315); // the end of the last one listed: nothing is known of the others
    EXPECT_EQ(40, gaps.get_nbr_gaps());
    gaps.cut(312);
    EXPECT_EQ(32, gaps.get_nbr_gaps());
    EXPECT_EQ(31 * 5 + 2, gaps.get_nbr_frames());
    gaps.cut(10);
    EXPECT_EQ(1, gaps.get_nbr_gaps());
    EXPECT_EQ(5, gaps.get_nbr_frames());
    gaps.cut(0);
    EXPECT_EQ(0, gaps.get_nbr_gaps());
    EXPECT_EQ("", gaps.print(100));
}
