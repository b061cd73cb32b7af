#include "host/render/SamplePeak.h"

#include <algorithm>
#include <bit>

namespace ulk::host::render {

float SamplePeak::find(float const* spl_arr, long len) {
    // Without their sign, floats are ordered as integers are, which a vector unit compares.
    int peak = 0;
    for (long pos = 0; pos < len; ++pos) {
        peak = std::max(peak, std::bit_cast<int>(spl_arr[pos]) & 0x7FFFFFFF);
    }
    return std::bit_cast<float>(peak);
}

} // namespace ulk::host::render
