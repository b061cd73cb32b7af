#include "ulk/math/FixedPoint.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ulk::math {

FixedPoint FixedPoint::from_double(double val) {
    using Lim = std::numeric_limits<archi::Int32>;
    if (std::isnan(val)) {
        return {};
    }
    double const int_part = std::floor(val);
    if (int_part < Lim::min()) {
        return {Lim::min(), 0};
    }
    if (int_part > Lim::max()) {
        return {Lim::max(), 0xFFFFFFFFU};
    }
    // A fraction that rounds up to one, such as that of -1e-20, must not carry.
    double const frac = std::clamp((val - int_part) * 4294967296.0, 0.0, 4294967295.0);
    return {static_cast<archi::Int32>(int_part), static_cast<archi::UInt32>(frac)};
}

} // namespace ulk::math
