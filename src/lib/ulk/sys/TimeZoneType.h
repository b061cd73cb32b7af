#pragma once

namespace ulk::sys {

// Any value but TimeZoneType_SYSTEM stands for UTC.
enum TimeZoneType : int { TimeZoneType_SYSTEM = 0, TimeZoneType_UTC = 1 };

} // namespace ulk::sys
