#pragma once

namespace ulk::host::render {

class SamplePeak {
public:
    // The highest magnitude, 0 for no sample; infinity or NaN where one is not finite. real-time
    static float find(float const* spl_arr, long len);
};

} // namespace ulk::host::render
