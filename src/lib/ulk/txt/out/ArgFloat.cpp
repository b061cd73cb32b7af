#include "ulk/txt/out/ArgFloat.h"

#include "ulk/archi/types.h"
#include "ulk/txt/out/Ascii.h"

#include <algorithm>
#include <bit>
#include <stdexcept>

namespace ulk::txt::out {

namespace {

constexpr archi::UInt64 sign_bit = archi::UInt64(1) << 63;
constexpr archi::UInt64 inf_bits = archi::UInt64(0x7FF) << 52;

// Writes the magnitude of an exponent just before end; gives where it begins.
char* write_exp_back(char* end, long exp, long base) {
    long rest = exp < 0 ? -exp : exp;
    do {
        // Exponents reach 9 as a digit above base 10 only, where the digits go on with letters.
        long const digit = rest % base;
        *--end = static_cast<char>(digit < 10 ? '0' + digit : 'A' + digit - 10);
        rest /= base;
    } while (rest != 0);
    return end;
}

constexpr int max_exp_digits = 11; // 1074 in base 2

} // namespace

ArgFloat::ArgFloat(DevInterface& dev, FmtInfo const& fmt, long double val)
    : ArgNumBase(dev, fmt)
    , _val(static_cast<double>(val)) {}

void ArgFloat::print() {
    load_value();
    format_number();
    if (!_displayable_flag) {
        print_not_displayable();
        return;
    }
    format_filler();
    print_pre_fill_and_sign(_nbr_int_digits);
    print_positive_integer(_nbr_int_digits, _printed_exp);
    if (_point_len > 0) {
        _dev.print_char('.');
        print_digit_sequence(_printed_exp - 1, _nbr_decimals);
    }
    if (_exp_flag) {
        print_exponent();
    }
    print_post_fill();
}

// Looks at bits rather than values: a caller's thread may take denormals for zero.
void ArgFloat::load_value() {
    auto const bits = std::bit_cast<archi::UInt64>(_val);
    auto const magnitude = bits & ~sign_bit;
    if (magnitude >= inf_bits) {
        throw std::runtime_error("ulk::math::FloatMultiPrec::from_dbl(): provided data is NaN");
    }
    _zero_flag = magnitude == 0;
    _neg_flag = !_zero_flag && bits != magnitude;
    _sign_len = has_sign(_neg_flag) ? 1 : 0;
    _val = std::bit_cast<double>(magnitude);
    if (!_zero_flag) {
        _exp = math::ShortDigits::compute_exp(_val, static_cast<int>(_fmt.get_base()));
    }
}

// Rounding can carry into a new first digit; the layout is then made again, once.
void ArgFloat::format_number() {
    format_layout();
    if (!_displayable_flag) {
        return;
    }
    if (!_zero_flag) {
        if (!_fmt.is_truncated()) {
            round_value();
        }
        _digits.set(_val, static_cast<int>(_fmt.get_base()));
        if (_exp != _digits.get_exp()) {
            _exp = _digits.get_exp();
            format_layout();
        }
    }
    if (!_fmt.has_zero_trail()) {
        remove_trailing_zeros();
    }
    if (_nbr_decimals == 0) {
        _point_len = 0;
    }
}

void ArgFloat::format_layout() {
    find_display_format();
    format_exponent();
    format_mantissa_integer_part();
    format_decimals();
}

void ArgFloat::find_display_format() {
    switch (_fmt.get_float_mode()) {
    case FmtInfo::FloatMode_FIXED:
        _exp_flag = false;
        break;
    case FmtInfo::FloatMode_SCIENTIFIC:
        _exp_flag = true;
        break;
    case FmtInfo::FloatMode_AUTO:
        _exp_flag = _exp > 9 || _exp < -_fmt.get_nbr_decimals();
        break;
    }
}

void ArgFloat::format_exponent() {
    if (!_exp_flag) {
        _printed_exp = 0;
        return;
    }
    long const group = std::max(_fmt.get_group_size(), 1L);
    long const rem = _exp % group;
    _printed_exp = _exp - (rem < 0 ? rem + group : rem);
    _exp_sign_len = has_sign(_printed_exp < 0) ? 1 : 0;
    _exp_sign_char = _printed_exp < 0 ? '-' : '+';
    char txt[max_exp_digits];
    char* const end = txt + max_exp_digits;
    _nbr_exp_digits = std::max(_fmt.get_exp_size(),
                               long(end - write_exp_back(end, _printed_exp, _fmt.get_base())));
}

void ArgFloat::format_mantissa_integer_part() {
    _nbr_int_digits = std::max(_exp - _printed_exp + 1, 1L);
    _point_len = _fmt.get_nbr_decimals() < 1 ? 0 : 1;
    if (compute_fixed_len() > _fmt.get_max_len()) {
        _displayable_flag = false;
    }
}

// Decimals give way before the number stops fitting.
void ArgFloat::format_decimals() {
    long const room = _fmt.get_max_len() - compute_fixed_len() - 1;
    _nbr_decimals = std::clamp(room, 0L, _fmt.get_nbr_decimals());
}

void ArgFloat::round_value() {
    _val = math::ShortDigits::add_half_unit(_val, static_cast<int>(_fmt.get_base()),
                                            _printed_exp - _nbr_decimals);
}

void ArgFloat::remove_trailing_zeros() {
    long nbr = 0;
    bool valid_flag = true;
    for (long i = 1; i <= _nbr_decimals && valid_flag; ++i) {
        if (compute_dig_at(_printed_exp - i, valid_flag) != 0) {
            nbr = i;
        }
    }
    _nbr_decimals = nbr;
}

// The digit of weight base^pos. Behind the last one it is 0 and not valid, in front of the first
// one 0 and valid.
int ArgFloat::compute_dig_at(long pos, bool& valid_flag) const {
    long const index = _exp - pos;
    valid_flag = !_zero_flag && index < _digits.get_len();
    if (!valid_flag || index < 0) {
        return 0;
    }
    char const c = _digits.get_digits()[index];
    return Ascii::is_digit(c) ? c - '0' : c - 'A' + 10;
}

// All but the point and the decimals
long ArgFloat::compute_fixed_len() const {
    return _sign_len + compute_displayed_len(_nbr_int_digits) +
           (_exp_flag ? _exp_sign_len + _nbr_exp_digits + 1 : 0);
}

long ArgFloat::get_nbr_displayed_chars() const {
    return compute_fixed_len() + _point_len + _nbr_decimals;
}

void ArgFloat::print_number_sign() {
    if (_sign_len > 0) {
        _dev.print_char(find_sign_char(_neg_flag, _fmt.get_sign_mode()));
    }
}

// Zeros above the first digit and below the last one
void ArgFloat::print_digit_sequence(long pos, long len) {
    long const beg = _zero_flag ? len : std::clamp(pos - _exp, 0L, len);
    _dev.print_fill('0', beg);
    long index = _exp - pos + beg;
    long const nbr = std::clamp(_digits.get_len() - index, 0L, len - beg);
    if (_fmt.get_case_mode() == FmtInfo::CaseMode_LOWER) {
        for (long i = 0; i < nbr; ++i) {
            _dev.print_char(Ascii::to_lower(_digits.get_digits()[index + i]));
        }
    } else {
        _dev.print_text(_digits.get_digits() + index, nbr);
    }
    _dev.print_fill('0', len - beg - nbr);
}

void ArgFloat::print_exponent() {
    bool const lower_flag = _fmt.get_case_mode() == FmtInfo::CaseMode_LOWER;
    _dev.print_char(_fmt.get_case_mode() == FmtInfo::CaseMode_UPPER ? 'E' : 'e');
    if (_exp_sign_len > 0) {
        _dev.print_char(_exp_sign_char);
    }
    char txt[max_exp_digits];
    char* const end = txt + max_exp_digits;
    char const* const beg = write_exp_back(end, _printed_exp, _fmt.get_base());
    _dev.print_fill('0', _nbr_exp_digits - (end - beg));
    for (char const* cur = beg; cur != end; ++cur) {
        _dev.print_char(lower_flag ? Ascii::to_lower(*cur) : *cur);
    }
}

} // namespace ulk::txt::out
