#include "../TapeRig.h"

#include "ulk/ace/baplug/rspl/SplFileIteratorCont.h"

#include <gtest/gtest.h>

using test::SampleStore;
using ulk::ace::baplug::rspl::SplFileIteratorCont;
using ulk::sacc::SplCacheIteratorRead;

namespace {

struct Block {
    bool cached_flag;
    long pos;
    long long pos_in_file;
    long len;
    float first; // value of its first frame, 0 for a hole
    bool operator==(Block const&) const = default;
};

std::vector<Block> list_blocks(SplFileIteratorCont range) {
    std::vector<Block> list;
    for (; range.is_rem_elt(); range.iterate()) {
        bool const cached_flag = range.is_block_cached();
        float const first =
            cached_flag ? range.use_cell().use_data()[range.get_block_pos_in_cell()] : 0;
        list.push_back({cached_flag, range.get_block_pos(), range.get_block_pos_in_file(),
                        range.get_block_len(), first});
    }
    return list;
}

// Blocks of 100 frames, of which the second and the fourth are there; 430 frames in all.
class SplFileIteratorContTest : public ::testing::Test {
protected:
    void SetUp() override {
        test::TapeSample spl;
        for (int i = 0; i < 430; ++i) {
            spl.data.push_back(static_cast<float>(i) / 512);
        }
        store.add(1, spl);
        store.load_range(1, 100, 1);
        store.load_range(1, 300, 1);
    }
    void get(long long pos, long len) {
        EXPECT_EQ(0, store.cache.get_data(store.map[1].cache_id, pos, len, it));
    }

    SampleStore store{100, 8};
    SplCacheIteratorRead it;
};

} // namespace

TEST_F(SplFileIteratorContTest, HolesStandBetweenCells) {
    get(0, 430);
    EXPECT_EQ((std::vector<Block>{{false, 0, 0, 100, 0},
                                  {true, 100, 100, 100, 100.0f / 512},
                                  {false, 200, 200, 100, 0},
                                  {true, 300, 300, 100, 300.0f / 512},
                                  {false, 400, 400, 30, 0}}),
              list_blocks(SplFileIteratorCont(it)));
}

TEST_F(SplFileIteratorContTest, RangeOfOnesOwnReachesBeyondTheFile) {
    get(0, 150);
    EXPECT_EQ((std::vector<Block>{{false, 0, -7, 107, 0}, {true, 107, 100, 50, 100.0f / 512}}),
              list_blocks(SplFileIteratorCont(it, -7, 157)));
    get(350, 80);
    EXPECT_EQ((std::vector<Block>{{true, 0, 350, 50, 350.0f / 512}, {false, 50, 400, 150, 0}}),
              list_blocks(SplFileIteratorCont(it, 350, 200)));
}

TEST_F(SplFileIteratorContTest, WithoutDataAllIsOneHole) {
    SplCacheIteratorRead empty;
    EXPECT_EQ((std::vector<Block>{{false, 0, -3, 20, 0}}),
              list_blocks(SplFileIteratorCont(empty, -3, 20)));
    EXPECT_TRUE(list_blocks(SplFileIteratorCont(empty)).empty());
    EXPECT_TRUE(list_blocks(SplFileIteratorCont(empty, 5, 0)).empty());
}
