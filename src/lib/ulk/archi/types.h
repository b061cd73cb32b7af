#pragma once

// Fixed-width integer names used by the whole system.

namespace ulk::archi {

using SByte = signed char;
using UByte = unsigned char;
using Int16 = short;
using UInt16 = unsigned short;
using Int32 = int;
using UInt32 = unsigned int;
using Int64 = long long;
using UInt64 = unsigned long long;

static_assert(sizeof(Int16) == 2 && sizeof(Int32) == 4 && sizeof(Int64) == 8);

} // namespace ulk::archi
