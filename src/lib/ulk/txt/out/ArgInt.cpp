#include "ulk/txt/out/ArgInt.h"

#include "ulk/math/DecText.h"

namespace ulk::txt::out {

ArgInt::ArgInt(DevInterface& dev, FmtInfo const& fmt, archi::Int64 val)
    : ArgNumBase(dev, fmt)
    , _val(val) {}

void ArgInt::print() {
    extract_digits();
    _sign_len = has_sign(_val < 0) ? 1 : 0;
    _sign_char = find_sign_char(_val < 0, _fmt.get_sign_mode());
    _displayable_flag = get_nbr_displayed_chars() <= _fmt.get_max_len();
    if (!_displayable_flag) {
        print_not_displayable();
        return;
    }
    format_filler();
    print_pre_fill_and_sign(_nbr_digits);
    print_positive_integer(_nbr_digits, 0);
    print_post_fill();
}

long ArgInt::get_nbr_displayed_chars() const {
    return _sign_len + compute_displayed_len(_nbr_digits);
}

void ArgInt::print_number_sign() {
    if (_sign_len > 0) {
        _dev.print_char(_sign_char);
    }
}

void ArgInt::print_digit_sequence(long pos, long len) {
    _dev.print_text(_digit_arr + MAX_NBR_DIGITS - 1 - pos, len);
}

void ArgInt::extract_digits() {
    auto const bits = static_cast<archi::UInt64>(_val);
    archi::UInt64 rest = _val < 0 ? 0 - bits : bits;
    char* const end = _digit_arr + MAX_NBR_DIGITS;
    char* cur = end;
    if (_fmt.get_base() == 10) {
        cur = math::DecText::write_back(end, rest);
    } else {
        char const ten = _fmt.get_case_mode() == FmtInfo::CaseMode_LOWER ? 'a' : 'A';
        int const nbr_bits = _fmt.get_base() == 16 ? 4 : 1;
        archi::UInt64 const mask = (1u << nbr_bits) - 1;
        do {
            auto const digit = static_cast<int>(rest & mask);
            *--cur = static_cast<char>(digit < 10 ? '0' + digit : ten + digit - 10);
            rest >>= nbr_bits;
        } while (rest != 0);
    }
    _nbr_digits = end - cur;
}

} // namespace ulk::txt::out
