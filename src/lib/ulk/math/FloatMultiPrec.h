#pragma once

#include "ulk/math/IntMultiPrec.h"

namespace ulk::math {

// Software float: magnitude * 2^(28 * exponent - 28 * (N - 1)), so that the top limb has the
// weight 2^(28 * exponent) and is not zero, except for zero. What would overflow the bit exponent
// at the lower end is zero.
template <int N>
class FloatMultiPrec {
public:
    FloatMultiPrec() = default;
    FloatMultiPrec(int value);
    FloatMultiPrec(FloatMultiPrec const& other) = default;
    FloatMultiPrec& operator=(FloatMultiPrec const& other) = default;
    virtual ~FloatMultiPrec() = default;

    // Exact. Throws std::runtime_error for an infinity or a NaN.
    void from_dbl(double value); // real-time
    // The nearest double, ties to even; an infinity above the range
    double to_dbl() const; // real-time

    FloatMultiPrec& operator+=(FloatMultiPrec const& other); // real-time
    FloatMultiPrec& operator-=(FloatMultiPrec const& other); // real-time
    FloatMultiPrec& operator*=(FloatMultiPrec const& other); // real-time
    FloatMultiPrec& operator/=(FloatMultiPrec const& other); // real-time

    // Replace the value by the result.
    void neg();
    void recip();               // real-time; the value is not zero
    void scale2_int(int power); // real-time; times 2^power
    void floor();               // real-time
    void log2();                // real-time; the value is above zero
    void pow_int(int power);    // real-time

    bool is_zero() const { return _mag.is_zero(); }
    // Floor of the binary logarithm of the magnitude, which is not zero
    int get_bin_exp() const;
    // -1, 0 or 1 as this is below, equal to or above other, both rounded to their top nbr_bits.
    // Neither is negative.
    int compare_rounded(FloatMultiPrec const& other, int nbr_bits) const; // real-time

private:
    using Mag = IntMultiPrec<N>;
    static constexpr int LIMB_BITS = Mag::LIMB_BITS;
    static constexpr int TOP_POS = LIMB_BITS * (N - 1); // bit of weight 1 at exponent 0
    static constexpr archi::Int32 MIN_EXP = -76695843;

    void normalise();
    void check_underflow();
    void round_to(int nbr_bits);

    Mag _mag;
    archi::Int32 _exp = 0; // in limbs
};

} // namespace ulk::math

#include "ulk/math/FloatMultiPrec.hpp"
