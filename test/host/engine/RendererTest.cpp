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
