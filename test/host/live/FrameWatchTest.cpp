#include "host/live/FrameWatch.h"

#include <gtest/gtest.h>

using ulk::host::live::FrameWatch;

namespace {

using namespace std::chrono_literals;

// Ten looks a second at a device of 48 kHz.
class FrameWatchTest : public ::testing::Test {
protected:
    // Looks for so long; speed: of the device, 1 for its own. What the last look told.
    bool look(std::chrono::milliseconds time, double speed) {
        bool steady_flag = true;
        for (auto const end = _now + time; _now < end;) {
            _now += 100ms;
            _frames += 4800 * speed;
            steady_flag = watch.is_steady(static_cast<long long>(_frames), _now);
        }
        return steady_flag;
    }
    void pass(std::chrono::milliseconds time) { _now += time; }

    FrameWatch watch{48000, false};

private:
    FrameWatch::Clock::time_point _now{1h};
    double _frames = 0;
};

} // namespace

TEST_F(FrameWatchTest, ADeviceThatGoesOnIsSteady) {
    EXPECT_TRUE(look(24h, 1));
    EXPECT_TRUE(look(1h, 0.001)); // late as it may be
    EXPECT_TRUE(look(1h, 3.5));
}

TEST_F(FrameWatchTest, ADeviceThatHangsIsToldAfterSomeSeconds) {
    EXPECT_TRUE(look(10s, 1));
    EXPECT_TRUE(look(1900ms, 0));
    EXPECT_FALSE(look(3s, 0));
    EXPECT_FALSE(look(10s, 1)); // for good
}

TEST_F(FrameWatchTest, ADeviceThatNeverBeginsIsTold) {
    EXPECT_FALSE(look(3s, 0));
}

TEST_F(FrameWatchTest, ADeviceThatRacesIsTold) {
    EXPECT_TRUE(look(10s, 1));
    EXPECT_FALSE(look(4s, 1000));
}

TEST_F(FrameWatchTest, ADeviceMayBeAsFastAsItLikesWhereThatIsItsWay) {
    watch = FrameWatch(48000, true);
    EXPECT_TRUE(look(10s, 1000));
    EXPECT_FALSE(look(10s, 0));
}

TEST_F(FrameWatchTest, AProcessThatWasStoppedMeanwhileHasSeenNothing) {
    EXPECT_TRUE(look(10s, 1));
    for (int time = 0; time < 5; ++time) {
        pass(1h);
        EXPECT_TRUE(look(200ms, 0));
        EXPECT_TRUE(look(2s, 1));
    }
}
