#include "ulk/txt/out/ArgNumBase.h"

namespace ulk::txt::out {

void ArgNumBase::format_filler() {
    if (!_fmt.has_max_len()) {
        return;
    }
    long const diff = _fmt.get_max_len() - get_nbr_displayed_chars();
    switch (_fmt.get_justify_mode()) {
    case FmtInfo::JustifyMode_CENTER:
        _nbr_fill_pre = diff / 2;
        _nbr_fill_post = diff - _nbr_fill_pre;
        break;
    case FmtInfo::JustifyMode_LEFT:
        _nbr_fill_post = diff;
        break;
    case FmtInfo::JustifyMode_RIGHT:
        _nbr_fill_pre = diff;
        _fill_pre = _fmt.get_whitespace();
        break;
    case FmtInfo::JustifyMode_LEFT_NO_PAD:
        break;
    }
}

// A sign stands in front of filling zeros, but next to the digits otherwise.
void ArgNumBase::print_pre_fill_and_sign(long nbr_digits) {
    if (_fill_pre == '0') {
        print_number_sign();
        print_pre_fill(nbr_digits);
    } else {
        print_pre_fill(nbr_digits);
        print_number_sign();
    }
}

// Zeros in front of grouped digits keep the rhythm of the groups.
void ArgNumBase::print_pre_fill(long nbr_digits) {
    long const group = _fmt.get_group_size();
    if (group == 0 || _fill_pre != '0' || _fmt.get_justify_mode() != FmtInfo::JustifyMode_RIGHT) {
        _dev.print_fill(_fill_pre, _nbr_fill_pre);
        return;
    }
    long const chars = compute_displayed_len(nbr_digits);
    for (long i = 1; i <= _nbr_fill_pre; ++i) {
        bool const blank_flag = (_nbr_fill_pre + chars - i) % (group + 1) == group;
        _dev.print_char(blank_flag ? ' ' : '0');
    }
}

void ArgNumBase::print_post_fill() {
    _dev.print_fill(_fill_post, _nbr_fill_post);
}

void ArgNumBase::print_positive_integer(long nbr_digits, long pos) {
    long const group = _fmt.get_group_size();
    if (group == 0) {
        print_digit_sequence(pos + nbr_digits - 1, nbr_digits);
        return;
    }
    // Groups are counted from the units, so that only the first one can be short.
    long rest = nbr_digits;
    long len = (nbr_digits - 1) % group + 1;
    while (rest > 0) {
        print_digit_sequence(pos + rest - 1, len);
        rest -= len;
        if (rest > 0) {
            _dev.print_char(' ');
        }
        len = group;
    }
}

long ArgNumBase::compute_displayed_len(long nbr_digits) const {
    long const group = _fmt.get_group_size();
    return group > 0 ? nbr_digits + (nbr_digits - 1) / group : nbr_digits;
}

char ArgNumBase::find_sign_char(bool neg_flag, FmtInfo::SignMode mode) {
    if (neg_flag) {
        return '-';
    }
    return mode == FmtInfo::SignMode_PLUS ? '+' : ' ';
}

bool ArgNumBase::has_sign(bool neg_flag) const {
    return neg_flag || _fmt.get_sign_mode() != FmtInfo::SignMode_MINUS;
}

} // namespace ulk::txt::out
