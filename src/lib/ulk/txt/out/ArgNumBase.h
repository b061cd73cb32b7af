#pragma once

#include "ulk/txt/out/ArgBase.h"

namespace ulk::txt::out {

// Padding, sign and digit grouping, common to all numbers
class ArgNumBase : public ArgBase {
public:
    using ArgBase::ArgBase;

protected:
    // Length of the whole number, without the padding
    virtual long get_nbr_displayed_chars() const = 0;
    virtual void print_number_sign() = 0;
    // Digits from the one of weight base^pos on, len of them, downwards
    virtual void print_digit_sequence(long pos, long len) = 0;

    void format_filler();
    // nbr_digits is the count of digits of the integer part, the groups not reckoned in.
    void print_pre_fill_and_sign(long nbr_digits);
    void print_post_fill();
    // Digits of the integer part, down to the one of weight base^pos, in groups
    void print_positive_integer(long nbr_digits, long pos);
    // Length of digits with the blanks between their groups
    long compute_displayed_len(long nbr_digits) const;
    // Sign in front of a number: its character, and whether it shows
    static char find_sign_char(bool neg_flag, FmtInfo::SignMode mode);
    bool has_sign(bool neg_flag) const;

private:
    void print_pre_fill(long nbr_digits);

    long _nbr_fill_pre = 0;
    long _nbr_fill_post = 0;
    char _fill_pre = ' ';
    char _fill_post = ' ';
};

} // namespace ulk::txt::out
