#include "host/live/ClockDevice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <utility>

using ulk::host::live::ClockDevice;

TEST(ClockDeviceTest, EveryChannelHasAPlaceOfItsOwn) {
    ClockDevice device({"", 48000, 64, 3, 2});
    std::promise<bool> heard;
    device.start([&, first_flag = true](float const* const* in_arr, float* const* out_arr,
                                        long len) mutable {
        for (int chn = 0; chn < 3; ++chn) {
            std::fill_n(out_arr[chn], len, static_cast<float>(chn));
        }
        if (std::exchange(first_flag, false)) {
            heard.set_value(len == 64 && out_arr[0][0] == 0 && out_arr[1][63] == 1 &&
                            out_arr[2][0] == 2 && in_arr[1][63] == 0);
        }
    });
    EXPECT_TRUE(heard.get_future().get());
    device.stop();
}
