#include "ulk/sys/NumText.h"

#include <locale.h>
#include <stdlib.h>

#include <cmath>

namespace ulk::sys {

char const* NumText::conv_str_to_dbl(char const* txt, double& val) {
    static locale_t const c_locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
    char* end = nullptr;
    double const read_val = ::strtod_l(txt, &end, c_locale);
    if (end == txt || std::isnan(read_val)) {
        return txt;
    }
    val = read_val;
    return end;
}

} // namespace ulk::sys
