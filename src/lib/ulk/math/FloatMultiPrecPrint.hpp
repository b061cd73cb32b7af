#pragma once

#include <cmath>

namespace ulk::math {

template <int N>
void FloatMultiPrecPrint<N>::prepare() {
    Float ulp(1);
    ulp.scale2_int(_value.get_bin_exp() - static_cast<int>(_mantissa_bits) + 1);
    _high_bound = _value;
    _high_bound += _value;
    _low_bound = _high_bound;
    _high_bound += ulp;
    if (_mantissa_bits == 1 && !is_below(ulp, _value)) { // the smallest denormal
        ulp.scale2_int(-1);
    }
    _low_bound -= ulp;
    _high_bound.scale2_int(-1);
    _low_bound.scale2_int(-1);
    compute_exponent_count();
    _power = Float(static_cast<int>(_base));
    _power.pow_int(static_cast<int>(_exponent_count));
}

// A logarithm within rounding errors of an integer is that integer: no bound lies so close to a
// power of the base without being equal to it.
template <int N>
void FloatMultiPrecPrint<N>::compute_exponent_count() {
    constexpr int tolerance_exp = -72;
    Float quot = _high_bound;
    quot.log2();
    Float log_base(static_cast<int>(_base));
    log_base.log2();
    quot /= log_base;
    quot.neg();
    Float tolerance(1);
    tolerance.scale2_int(tolerance_exp);
    quot += tolerance;
    quot.floor();
    _exponent_count = static_cast<long>(std::floor(-quot.to_dbl() + 0.5));
}

template <int N>
void FloatMultiPrecPrint<N>::start() {
    _remainder = _value;
    _remainder /= _power;
    _accumulated = Float();
    _unit = Float(1);
    _digit = 0;
    _position = 0;
    _end_flag = false;
    iterate_internal();
}

template <int N>
void FloatMultiPrecPrint<N>::iterate_internal() {
    Float const base(static_cast<int>(_base));
    ++_position;
    _remainder *= base;
    Float digit = _remainder;
    digit.floor();
    _remainder -= digit;
    _digit = static_cast<long>(digit.to_dbl());
    _unit *= base;
    _accumulated *= base;
    _accumulated += digit;

    Float raised = _accumulated;
    raised += Float(1);
    bool const low_flag = is_below(_low_bound, compute_denoted(_accumulated));
    bool const high_flag = is_below(compute_denoted(raised), _high_bound);
    if (low_flag && high_flag) {
        Float middle = _accumulated;
        Float half(1);
        half.scale2_int(-1);
        middle += half;
        _digit += is_below(_value, compute_denoted(middle)) ? 0 : 1;
    } else if (high_flag) {
        ++_digit;
    }
    _end_flag = low_flag || high_flag;
}

template <int N>
FloatMultiPrec<N> FloatMultiPrecPrint<N>::compute_denoted(Float const& val) const {
    Float res = val;
    res /= _unit;
    res *= _power;
    return res;
}

template <int N>
bool FloatMultiPrecPrint<N>::is_below(Float const& lhs, Float const& rhs) const {
    return lhs.compare_rounded(rhs, static_cast<int>(_mantissa_bits) + GUARD_BITS) < 0;
}

} // namespace ulk::math
