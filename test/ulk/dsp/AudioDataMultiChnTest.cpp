#include "ulk/dsp/AudioDataMultiChn.h"

#include <type_traits>

namespace {

using ulk::dsp::AudioDataMultiChn;

static_assert(AudioDataMultiChn::Activity_NORMAL == 0);
static_assert(AudioDataMultiChn::Activity_CLEARED == 1);
static_assert(AudioDataMultiChn::Activity_DIRTY == 2);
static_assert(std::has_virtual_destructor_v<AudioDataMultiChn>);

class AudioDataMultiChnTest : public testing::Test {
protected:
    float _buf[64][4] = {};
};

TEST_F(AudioDataMultiChnTest, StartsEmpty) {
    AudioDataMultiChn data;
    EXPECT_EQ(data.get_nbr_chn(), 0);
    EXPECT_EQ(data.get_activity(), AudioDataMultiChn::Activity_NORMAL);
    EXPECT_TRUE(data.is_valid());
    for (int chn = 0; chn < 64; ++chn) {
        EXPECT_EQ(data.use_chn(chn), nullptr);
    }
}

TEST_F(AudioDataMultiChnTest, IsValidWithoutNullAlone) {
    AudioDataMultiChn data(2);
    EXPECT_EQ(data.get_nbr_chn(), 2);
    EXPECT_FALSE(data.is_valid());
    data.set_chn(0, _buf[0]);
    EXPECT_FALSE(data.is_valid());
    data.set_chn_ro(1, _buf[1]);
    EXPECT_TRUE(data.is_valid());
    EXPECT_EQ(data.use_chn_ro(1), _buf[1]);
    EXPECT_EQ(data.use_chn(1), _buf[1]); // one storage for both views
    EXPECT_EQ(data.use_chn_list()[0], _buf[0]);
    EXPECT_EQ(static_cast<void const*>(data.use_chn_list()),
              static_cast<void const*>(data.use_chn_list_ro()));
}

TEST_F(AudioDataMultiChnTest, GrowthClearsTheNewSlotsAlone) {
    AudioDataMultiChn data(2);
    data.set_chn(0, _buf[0]);
    data.set_chn(1, _buf[1]);
    data.set_nbr_chn(1);
    EXPECT_EQ(data.use_chn(1), _buf[1]); // dropped, kept
    EXPECT_TRUE(data.is_valid());
    data.set_chn(2, _buf[2]);
    data.set_nbr_chn(2);
    EXPECT_EQ(data.use_chn(0), _buf[0]);
    EXPECT_EQ(data.use_chn(1), nullptr);
    EXPECT_EQ(data.use_chn(2), _buf[2]);
    data.set_nbr_chn(64);
    EXPECT_EQ(data.use_chn(2), nullptr);
}

TEST_F(AudioDataMultiChnTest, SetAllOffsetsEveryChannel) {
    AudioDataMultiChn data;
    float* chn_arr[64];
    for (int chn = 0; chn < 64; ++chn) {
        chn_arr[chn] = _buf[chn];
    }
    data.set_all(64, chn_arr, 3);
    EXPECT_EQ(data.get_nbr_chn(), 64);
    for (int chn = 0; chn < 64; ++chn) {
        EXPECT_EQ(data.use_chn(chn), _buf[chn] + 3);
    }
    data.set_all(1, chn_arr, 0);
    EXPECT_EQ(data.use_chn(0), _buf[0]);
    EXPECT_EQ(data.use_chn(1), _buf[1] + 3);
}

TEST_F(AudioDataMultiChnTest, CopyClearsWhatLiesAboveTheCount) {
    AudioDataMultiChn src(1);
    src.set_chn(0, _buf[0]);
    src.set_chn(1, _buf[1]);
    src.set_activity(AudioDataMultiChn::Activity_DIRTY);
    AudioDataMultiChn copy(src);
    EXPECT_EQ(copy.get_nbr_chn(), 1);
    EXPECT_EQ(copy.get_activity(), AudioDataMultiChn::Activity_DIRTY);
    EXPECT_EQ(copy.use_chn(0), _buf[0]);
    EXPECT_EQ(copy.use_chn(1), nullptr);
}

TEST_F(AudioDataMultiChnTest, AssignmentLeavesWhatLiesAboveTheCount) {
    AudioDataMultiChn src(1);
    src.set_chn(0, _buf[0]);
    src.set_activity(AudioDataMultiChn::Activity_CLEARED);
    AudioDataMultiChn dst(3);
    dst.set_chn(0, _buf[5]);
    dst.set_chn(1, _buf[6]);
    dst = src;
    EXPECT_EQ(dst.get_nbr_chn(), 1);
    EXPECT_EQ(dst.get_activity(), AudioDataMultiChn::Activity_CLEARED);
    EXPECT_EQ(dst.use_chn(0), _buf[0]);
    EXPECT_EQ(dst.use_chn(1), _buf[6]);
    AudioDataMultiChn& self = dst;
    dst = self;
    EXPECT_EQ(dst.use_chn(0), _buf[0]);
}

TEST_F(AudioDataMultiChnTest, CopyChnDataTakesPointersAlone) {
    AudioDataMultiChn src(2);
    src.set_chn(0, _buf[0]);
    src.set_chn(1, _buf[1]);
    src.set_activity(AudioDataMultiChn::Activity_DIRTY);
    AudioDataMultiChn dst(1);
    dst.copy_chn_data(src);
    EXPECT_EQ(dst.get_nbr_chn(), 1);
    EXPECT_EQ(dst.get_activity(), AudioDataMultiChn::Activity_NORMAL);
    EXPECT_EQ(dst.use_chn(0), _buf[0]);
    EXPECT_EQ(dst.use_chn(1), _buf[1]);
}

TEST_F(AudioDataMultiChnTest, ActivityChangesThroughAReadOnlyView) {
    AudioDataMultiChn data(1);
    AudioDataMultiChn const& view = data;
    view.set_activity(AudioDataMultiChn::Activity_DIRTY);
    EXPECT_EQ(data.get_activity(), AudioDataMultiChn::Activity_DIRTY);
}

} // namespace
