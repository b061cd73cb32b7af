#pragma once

#include <numbers>

namespace ulk::math {

constexpr double LOG2_E = std::numbers::log2e;               // log2(e)
constexpr double LOG2_10 = 3.321928094887362347870319429489; // log2(10)
constexpr double TWOPM32 = 1.0 / 4294967296.0;               // 2^-32

} // namespace ulk::math
