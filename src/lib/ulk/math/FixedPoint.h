#pragma once

#include "ulk/archi/types.h"

#include <compare>

namespace ulk::math {

// 32.32 fixed point in a signed 64-bit integer: the value is integer part + fraction / 2^32, the
// fraction being unsigned, so -0.25 is -1 and 0.75. Addition and scaling wrap round at 64 bits.
// Every operation is real-time.
class FixedPoint {
public:
    constexpr FixedPoint(archi::Int32 int_part = 0, archi::UInt32 frac = 0)
        : _raw(static_cast<archi::Int64>(
              (static_cast<archi::UInt64>(static_cast<archi::Int64>(int_part)) << 32) | frac)) {}

    // Floor and fraction, the fraction cut to 32 bits. Out of range: the nearest limit. NaN: 0.
    static FixedPoint from_double(double val);
    static constexpr FixedPoint from_raw(archi::Int64 raw) {
        FixedPoint val;
        val._raw = raw;
        return val;
    }

    constexpr archi::Int32 get_int_part() const { return static_cast<archi::Int32>(_raw >> 32); }
    constexpr archi::UInt32 get_frac() const { return static_cast<archi::UInt32>(_raw); }
    constexpr archi::Int64 get_raw() const { return _raw; }
    constexpr double to_double() const { return static_cast<double>(_raw) * (1.0 / 4294967296.0); }

    constexpr FixedPoint& operator+=(FixedPoint other) {
        return *this = wrap(as_unsigned() + other.as_unsigned());
    }
    constexpr FixedPoint& operator-=(FixedPoint other) {
        return *this = wrap(as_unsigned() - other.as_unsigned());
    }
    constexpr FixedPoint& operator*=(archi::Int64 factor) {
        return *this = wrap(as_unsigned() * static_cast<archi::UInt64>(factor));
    }
    friend constexpr FixedPoint operator+(FixedPoint a, FixedPoint b) { return a += b; }
    friend constexpr FixedPoint operator-(FixedPoint a, FixedPoint b) { return a -= b; }
    friend constexpr FixedPoint operator*(FixedPoint a, archi::Int64 factor) { return a *= factor; }
    constexpr auto operator<=>(FixedPoint const&) const = default;

private:
    constexpr archi::UInt64 as_unsigned() const { return static_cast<archi::UInt64>(_raw); }
    static constexpr FixedPoint wrap(archi::UInt64 bits) {
        return from_raw(static_cast<archi::Int64>(bits));
    }

    archi::Int64 _raw;
};

static_assert(sizeof(FixedPoint) == 8);

} // namespace ulk::math
