#pragma once

namespace ulk::sys {

class NumText {
public:
    // Reads a floating-point number at the start of txt, as strtod does but always with a point,
    // whatever the host's locale. Returns where the number ends; txt itself, and val untouched,
    // when there is none or it is a NaN.
    static char const* conv_str_to_dbl(char const* txt, double& val);
};

} // namespace ulk::sys
