#pragma once

#include "ulk/math/ShortDigits.h"
#include "ulk/txt/out/ArgNumBase.h"

namespace ulk::txt::out {

// A floating-point number, in the precision of a double
class ArgFloat final : public ArgNumBase {
public:
    ArgFloat(DevInterface& dev, FmtInfo const& fmt, long double val);

    // Throws std::runtime_error for a value that is not finite as a double; nothing is written.
    void print(); // real-time

protected:
    long get_nbr_displayed_chars() const override;
    void print_number_sign() override;
    void print_digit_sequence(long pos, long len) override;

private:
    void load_value();
    void format_number();
    void format_layout();
    void find_display_format();
    void format_exponent();
    void format_mantissa_integer_part();
    void format_decimals();
    void round_value();
    void remove_trailing_zeros();
    int compute_dig_at(long pos, bool& valid_flag) const;
    long compute_fixed_len() const;
    void print_exponent();

    double _val; // its magnitude, once loaded
    bool _neg_flag = false;
    bool _zero_flag = false;
    bool _exp_flag = false; // the exponent shows
    long _exp = 0;          // of the first digit
    long _nbr_int_digits = 1;
    long _nbr_decimals = 0;
    long _sign_len = 0;
    long _point_len = 0;
    long _printed_exp = 0;
    long _nbr_exp_digits = 0;
    long _exp_sign_len = 0;
    char _exp_sign_char = '+';
    math::ShortDigits _digits;
};

} // namespace ulk::txt::out
