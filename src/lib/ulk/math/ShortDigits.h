#pragma once

#include "ulk/archi/types.h"

namespace ulk::math {

// The shortest digits that identify a double, in base 2, 10 or 16: the same as those of
// FloatMultiPrecPrint, by exact arithmetic on 128 bits.
//
// Digits are taken until they denote a number strictly between the middles of the value and its
// two neighbours, which are one unit of its last bit away on both sides, also at a power of two.
// The last digit is the nearer of two candidates, the upper one at equal distance.
//
// All values are finite and above zero. Nothing here depends on the floating-point environment.
class ShortDigits {
public:
    static constexpr int MAX_LEN = 53;

    void set(double val, int base); // real-time

    // Weight of the first digit, as a power of the base
    int get_exp() const { return _exp; }
    // Digits up to the last one that is not zero
    int get_len() const { return _len; }
    // The digits as characters, "0" to "9" and "A" to "F", without a terminator
    char const* get_digits() const { return _digit_arr + _beg; }

    // get_exp () of val, without making the digits
    static int compute_exp(double val, int base); // real-time
    // The double nearest to val + base^power / 2, ties to even; val where that is out of range
    static double add_half_unit(double val, int base, long power); // real-time

private:
    void set_dec(archi::UInt64 mant, int exp2);
    void set_pow2(archi::UInt64 mant, int exp2, int bits);
    void trim_zeros();

    int _exp = 0;
    int _len = 0;
    int _beg = 0;
    char _digit_arr[MAX_LEN];
};

} // namespace ulk::math
