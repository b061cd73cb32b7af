#pragma once

#include "ulk/archi/types.h"
#include "ulk/txt/out/ArgNumBase.h"

namespace ulk::txt::out {

// A 64-bit integer, as a sign and a magnitude in every base
class ArgInt final : public ArgNumBase {
public:
    ArgInt(DevInterface& dev, FmtInfo const& fmt, archi::Int64 val);

    void print(); // real-time

protected:
    long get_nbr_displayed_chars() const override;
    void print_number_sign() override;
    void print_digit_sequence(long pos, long len) override;

private:
    static constexpr long MAX_NBR_DIGITS = 64; // 2^63 in base 2

    void extract_digits();

    archi::Int64 _val;
    long _nbr_digits = 0;
    long _sign_len = 0;
    char _sign_char = ' ';
    char _digit_arr[MAX_NBR_DIGITS]; // as characters, the units at the end
};

} // namespace ulk::txt::out
