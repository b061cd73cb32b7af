#pragma once

#include "ulk/math/FloatMultiPrec.h"

namespace ulk::math {

// Generator of the shortest digits that identify a double, the highest first: free-format output
// after Steele and White, in floating point at twice the precision of the source. The formatter
// takes the same digits from ShortDigits, which is faster; this is the reference for it.
//
// Set the value (above zero), the mantissa bits and the base, call prepare () once, and start ()
// for each pass over the digits. The first digit is then there; iterate_internal () makes the next
// one as long as the end is not reached.
template <int N>
class FloatMultiPrecPrint {
public:
    using Float = FloatMultiPrec<N>;

    FloatMultiPrecPrint() = default;
    FloatMultiPrecPrint(FloatMultiPrecPrint const& other) = default;
    FloatMultiPrecPrint& operator=(FloatMultiPrecPrint const& other) = default;
    virtual ~FloatMultiPrecPrint() = default;

    void prepare();          // real-time
    void start();            // real-time
    void iterate_internal(); // real-time

    Float _value;
    Float _high_bound; // middle between the value and the next higher double
    Float _low_bound;  // and the next lower one
    Float _remainder;  // what is left, scaled
    Float _power;      // base^(E + 1)
    Float _accumulated;
    Float _unit;             // scale of what is accumulated
    long _mantissa_bits = 0; // significant bits of the source
    long _base = 10;
    long _exponent_count = 0; // E + 1, with E the exponent of the first digit
    long _digit = -1;
    long _position = -1; // digits generated
    bool _end_flag = false;

private:
    // Comparisons are made on that many bits more than the source has. The arithmetic is exact
    // beyond them, so that a candidate on a bound is seen there, and few others are.
    static constexpr int GUARD_BITS = 20;

    void compute_exponent_count();
    // The number that val stands for after the digits so far
    Float compute_denoted(Float const& val) const;
    bool is_below(Float const& lhs, Float const& rhs) const;
};

} // namespace ulk::math

#include "ulk/math/FloatMultiPrecPrint.hpp"
