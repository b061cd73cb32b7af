#pragma once

#include "ulk/archi/types.h"

namespace ulk::math {

template <int N>
class FloatMultiPrec;

// Magnitude of N limbs of 28 bits, the least significant first, and a sign. The 4 bits above a
// limb hold its carry while a calculation is under way.
template <int N>
class IntMultiPrec {
public:
    static constexpr int LIMB_BITS = 28;
    static constexpr int NBR_BITS = N * LIMB_BITS;
    static constexpr archi::UInt32 LIMB_MASK = (archi::UInt32(1) << LIMB_BITS) - 1;

    IntMultiPrec() = default;
    IntMultiPrec(IntMultiPrec const& other) = default;
    IntMultiPrec& operator=(IntMultiPrec const& other) = default;
    virtual ~IntMultiPrec() = default;

    // Shifts the magnitude, a carry in the top limb included. With round, half of the last bit
    // that stays is added first.
    void shift_right(int nbr_bits, bool round); // real-time
    // Multiplies, keeps the top N limbs, and gives the number of limbs by which the product was
    // shifted up: exponents a and b of the factors make a + b - result + 1.
    int mul_normalise(IntMultiPrec const& other, bool round); // real-time

private:
    friend class FloatMultiPrec<N>;

    bool is_zero() const;
    int find_top_bit() const; // -1 for zero
    bool get_bit(int pos) const { return (_limb_arr[pos / LIMB_BITS] >> pos % LIMB_BITS & 1) != 0; }
    bool has_bits_below(int pos) const;
    void clear_below(int pos);
    void add_bit(int pos);
    void shift_left(int nbr_bits);
    int compare_mag(IntMultiPrec const& other) const;
    void add_mag(IntMultiPrec const& other);
    void sub_mag(IntMultiPrec const& other);

    archi::UInt32 _limb_arr[N] = {};
    bool _neg_flag = false;
};

} // namespace ulk::math

#include "ulk/math/IntMultiPrec.hpp"
