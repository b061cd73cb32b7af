#pragma once

#include "ulk/archi/types.h"

namespace ulk::math {

// Decimal digits of unsigned integers, as characters.
class DecText {
public:
    static constexpr int MAX_LEN = 20;

    // Writes val so that its last digit lands just before end, without a terminator; gives the
    // position of the first digit. Zero has one digit. Up to MAX_LEN characters are written.
    static char* write_back(char* end, archi::UInt64 val); // real-time
};

} // namespace ulk::math
