#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <stdexcept>

namespace ulk::math {

template <int N>
FloatMultiPrec<N>::FloatMultiPrec(int value) {
    from_dbl(value);
}

template <int N>
void FloatMultiPrec<N>::from_dbl(double value) {
    auto const bits = std::bit_cast<archi::UInt64>(value);
    auto const field = static_cast<int>(bits >> 52) & 0x7FF;
    auto mant = bits & ((archi::UInt64(1) << 52) - 1);
    if (field == 0x7FF) {
        throw std::runtime_error("ulk::math::FloatMultiPrec::from_dbl(): provided data is NaN");
    }
    *this = FloatMultiPrec();
    if (field == 0 && mant == 0) {
        return;
    }
    if (field != 0) {
        mant |= archi::UInt64(1) << 52;
    }
    int const low = std::max(field, 1) - 1075;           // weight of the last bit
    int const top = low + int(std::bit_width(mant)) - 1; // and of the first
    _exp = (top - (top < 0 ? LIMB_BITS - 1 : 0)) / LIMB_BITS;
    mant <<= 53 - int(std::bit_width(mant));
    // The 53 bits, the first of them in the top limb
    int const shift = TOP_POS + top - _exp * LIMB_BITS - 52;
    for (int i = 0; i < N; ++i) {
        int const right = i * LIMB_BITS - shift;
        archi::UInt64 const part = right >= 0           ? mant >> std::min(right, 63)
                                   : right > -LIMB_BITS ? mant << -right
                                                        : 0;
        _mag._limb_arr[i] = static_cast<archi::UInt32>(part & Mag::LIMB_MASK);
    }
    _mag._neg_flag = bits >> 63 != 0;
}

template <int N>
double FloatMultiPrec<N>::to_dbl() const {
    constexpr int min_exp2 = -1074;
    if (is_zero()) {
        return 0;
    }
    if (_exp > 1024 / LIMB_BITS || _exp < min_exp2 / LIMB_BITS - 2) {
        double const val = _exp > 0 ? HUGE_VAL : 0;
        return _mag._neg_flag ? -val : val;
    }
    int const top = _mag.find_top_bit();
    int const low = _exp * LIMB_BITS - TOP_POS; // weight of bit 0
    // First bit that stays, in the magnitude
    int const pos = std::max(top - 52, min_exp2 - low);
    archi::UInt64 mant = 0;
    for (int i = top; i >= pos; --i) {
        mant = mant << 1 | (i >= 0 && _mag.get_bit(i));
    }
    bool const half = pos >= 1 && pos - 1 <= top && _mag.get_bit(pos - 1);
    if (half && ((mant & 1) != 0 || _mag.has_bits_below(pos - 1))) {
        ++mant;
    }
    double const val = std::ldexp(static_cast<double>(mant), low + pos);
    return _mag._neg_flag ? -val : val;
}

template <int N>
FloatMultiPrec<N>& FloatMultiPrec<N>::operator+=(FloatMultiPrec const& other) {
    if (other.is_zero()) {
        return *this;
    }
    if (is_zero()) {
        return *this = other;
    }
    bool const above = _exp >= other._exp;
    FloatMultiPrec low = above ? other : *this;
    if (!above) {
        *this = other;
    }
    auto const nbr_limbs = std::min(archi::Int64(_exp) - low._exp, archi::Int64(N + 1));
    low._mag.shift_right(static_cast<int>(nbr_limbs) * LIMB_BITS, true);
    if (_mag._neg_flag == low._mag._neg_flag) {
        _mag.add_mag(low._mag);
    } else if (_mag.compare_mag(low._mag) >= 0) {
        _mag.sub_mag(low._mag);
    } else {
        std::swap(_mag, low._mag);
        _mag.sub_mag(low._mag);
    }
    normalise();
    return *this;
}

template <int N>
FloatMultiPrec<N>& FloatMultiPrec<N>::operator-=(FloatMultiPrec const& other) {
    FloatMultiPrec opp = other;
    opp.neg();
    return *this += opp;
}

template <int N>
FloatMultiPrec<N>& FloatMultiPrec<N>::operator*=(FloatMultiPrec const& other) {
    int const shift = _mag.mul_normalise(other._mag, true);
    _exp += other._exp - shift + 1;
    check_underflow();
    return *this;
}

template <int N>
FloatMultiPrec<N>& FloatMultiPrec<N>::operator/=(FloatMultiPrec const& other) {
    FloatMultiPrec inv = other;
    inv.recip();
    return *this *= inv;
}

template <int N>
void FloatMultiPrec<N>::neg() {
    _mag._neg_flag = !_mag._neg_flag && !is_zero();
}

// The exponent is taken off meanwhile: the estimate of the hardware has a smaller range.
template <int N>
void FloatMultiPrec<N>::recip() {
    archi::Int32 const exp = _exp;
    _exp = 0;
    FloatMultiPrec const val = *this;
    from_dbl(1.0 / val.to_dbl());
    for (int i = 0; i < 2; ++i) {
        FloatMultiPrec prod = val;
        prod *= *this;
        FloatMultiPrec corr(2);
        corr -= prod;
        *this *= corr;
    }
    _exp -= exp;
    check_underflow();
}

template <int N>
void FloatMultiPrec<N>::scale2_int(int power) {
    if (is_zero()) {
        return;
    }
    int const nbr_limbs = (power - (power < 0 ? LIMB_BITS - 1 : 0)) / LIMB_BITS;
    int const rest = power - nbr_limbs * LIMB_BITS;
    _exp += nbr_limbs;
    if (_mag.find_top_bit() + rest < Mag::NBR_BITS) {
        _mag.shift_left(rest);
    } else {
        _mag.shift_right(LIMB_BITS - rest, true);
        ++_exp;
    }
    normalise();
}

template <int N>
void FloatMultiPrec<N>::floor() {
    if (_exp >= N - 1) {
        return;
    }
    int const unit = std::min(TOP_POS - LIMB_BITS * std::max(_exp, -1), int(Mag::NBR_BITS));
    bool const frac_flag = _mag.has_bits_below(unit);
    bool const neg_flag = _mag._neg_flag;
    _mag.clear_below(unit);
    normalise();
    if (neg_flag && frac_flag) {
        *this += FloatMultiPrec(-1);
    }
}

// Squaring doubles the logarithm, and thus shows one bit of its fraction after the other.
template <int N>
void FloatMultiPrec<N>::log2() {
    FloatMultiPrec const int_part(get_bin_exp());
    Mag val = _mag; // from 1 to below 2, with the 1 as its top bit
    val.shift_left(Mag::NBR_BITS - 1 - _mag.find_top_bit());
    Mag frac;
    for (int i = Mag::NBR_BITS - 1; i >= 0; --i) {
        val.mul_normalise(Mag(val), true);
        if (val.get_bit(Mag::NBR_BITS - 1)) {
            frac.add_bit(i);
        } else {
            val.shift_left(1);
        }
    }
    _mag = frac;
    _exp = -1;
    normalise();
    *this += int_part;
}

template <int N>
void FloatMultiPrec<N>::pow_int(int power) {
    FloatMultiPrec square = *this;
    *this = FloatMultiPrec(1);
    for (int rest = std::abs(power); rest > 0; rest >>= 1) {
        if ((rest & 1) != 0) {
            *this *= square;
        }
        square *= FloatMultiPrec(square);
    }
    if (power < 0) {
        FloatMultiPrec inv(1);
        inv /= *this;
        *this = inv;
    }
}

template <int N>
int FloatMultiPrec<N>::get_bin_exp() const {
    return _exp * LIMB_BITS - TOP_POS + _mag.find_top_bit();
}

template <int N>
int FloatMultiPrec<N>::compare_rounded(FloatMultiPrec const& other, int nbr_bits) const {
    FloatMultiPrec lhs = *this;
    FloatMultiPrec rhs = other;
    lhs.round_to(nbr_bits);
    rhs.round_to(nbr_bits);
    if (lhs.is_zero() || rhs.is_zero()) {
        return int(!lhs.is_zero()) - int(!rhs.is_zero());
    }
    if (lhs._exp != rhs._exp) {
        return lhs._exp < rhs._exp ? -1 : 1;
    }
    return lhs._mag.compare_mag(rhs._mag);
}

template <int N>
void FloatMultiPrec<N>::round_to(int nbr_bits) {
    int const low = _mag.find_top_bit() + 1 - nbr_bits;
    if (low > 0) {
        _mag.add_bit(low - 1);
        _mag.clear_below(low);
        normalise();
    }
}

template <int N>
void FloatMultiPrec<N>::normalise() {
    if (_mag._limb_arr[N - 1] > Mag::LIMB_MASK) {
        _mag.shift_right(LIMB_BITS, true);
        ++_exp;
    }
    int const top = _mag.find_top_bit();
    if (top >= 0 && top < TOP_POS) {
        int const nbr_limbs = N - 1 - top / LIMB_BITS;
        _mag.shift_left(nbr_limbs * LIMB_BITS);
        _exp -= nbr_limbs;
    }
    check_underflow();
}

template <int N>
void FloatMultiPrec<N>::check_underflow() {
    if (_exp < MIN_EXP || is_zero()) {
        *this = FloatMultiPrec();
    }
}

} // namespace ulk::math
