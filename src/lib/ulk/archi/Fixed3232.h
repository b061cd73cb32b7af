#pragma once

#include "ulk/math/FixedPoint.h"

namespace ulk::archi {

// Position in a stretch of frames.
using Fixed3232 = math::FixedPoint;

} // namespace ulk::archi
