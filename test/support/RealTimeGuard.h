#pragma once

#include "ulk/sys/RealTimeGuard.h"

namespace test {

using ulk::sys::RealTimeGuard;

} // namespace test
