#include "host/engine/RenderRig.h"

using namespace ulk::host::engine;
using test::RenderRig;

namespace {

class RendererTest : public ::testing::Test, public RenderRig {};

} // namespace

TEST_F(RendererTest, ClipsOfTheSessionsRateComeOutOnTheirFrame) {
    int const mono = add_noise(1, 70000, 48000);
    int const stereo = add_noise(2, 3000, 48000);
    int const track = add_track("one");
    add_clip(track, mono, 100.0 / 48000);
    add_clip(track, stereo, 1.25);
    auto const mix = render();
    ASSERT_EQ(2u, mix.size());
    ASSERT_EQ(70100u, mix[0].size());
    for (std::size_t pos = 0; pos < mix[0].size(); ++pos) {
        for (std::size_t chn = 0; chn < 2; ++chn) {
            float expected = 0;
            if (pos >= 100) {
                expected += noise_arr[0][0][pos - 100];
            }
            if (pos >= 60000 && pos < 63000) {
                expected += noise_arr[1][chn][pos - 60000];
            }
            ASSERT_NEAR(expected, mix[chn][pos], 2e-7) << pos;
        }
    }
    EXPECT_EQ(2, stat.max_sounding);
    EXPECT_EQ(2, stat.nbr_notes);
    EXPECT_TRUE(holes.empty());
}

TEST_F(RendererTest, LongClipsNeedTheCacheForTheSpanAloneThatIsMade) {
    int const sample = add_noise(1, 60 * 8000, 8000);
    add_track("one", 1);
    session.nbr_chn = 1;
    settings.sample_freq = 8000;
    auto& clip = add_clip(0, sample, 0);
    settings.cache_len = 14LL << 20;
    std::vector<double> nbr_cells_arr;
    for (double const length : {30., 60.}) {
        clip.length = length;
        render();
        nbr_cells_arr.push_back(static_cast<double>(stat.max_cells));
    }
    EXPECT_NEAR(nbr_cells_arr[0], nbr_cells_arr[1], 2); // spans begin anywhere in a cell
    EXPECT_TRUE(holes.empty());
}
