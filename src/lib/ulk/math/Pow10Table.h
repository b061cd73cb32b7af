#pragma once

#include "ulk/archi/types.h"

namespace ulk::math {

// Powers of ten with 128 significant bits: 10^p lies in [g, g + 1) * 2^get_exp (p), and is
// exactly g * 2^get_exp (p) where is_exact (p).
class Pow10Table {
public:
    static constexpr int MIN_POW = -323;
    static constexpr int MAX_POW = 324;

    struct Mantissa {
        archi::UInt64 hi; // its top bit is set
        archi::UInt64 lo;
    };

    // p from MIN_POW to MAX_POW
    static Mantissa const& get(int p); // real-time
    // Floor of the binary logarithm of 10^p, for |p| up to 1233
    static constexpr int log2_floor(int p) { return (p * 1741647) >> 19; }
    static constexpr int get_exp(int p) { return log2_floor(p) - 127; }
    // 5^55 is the highest power of five below 2^128
    static constexpr bool is_exact(int p) { return p >= 0 && p <= 55; }
};

} // namespace ulk::math
