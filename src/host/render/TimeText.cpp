#include "host/render/TimeText.h"

#include <cmath>
#include <cstdio>

namespace ulk::host::render {

std::string TimeText::print(double s, int nbr_decimals) {
    // Rounded first, so that no 60th second shows.
    double const scale = std::pow(10, nbr_decimals);
    double const rounded = std::round(std::abs(s) * scale) / scale;
    double const minutes = std::floor(rounded / 60);
    double const hours = std::floor(minutes / 60);
    int const width = nbr_decimals > 0 ? 3 + nbr_decimals : 2;
    char const* const sign = s < 0 && rounded > 0 ? "-" : "";
    char txt[400];
    if (hours > 0) {
        std::snprintf(txt, sizeof(txt), "%s%.0f:%02.0f:%0*.*f", sign, hours, minutes - hours * 60,
                      width, nbr_decimals, rounded - minutes * 60);
    } else {
        std::snprintf(txt, sizeof(txt), "%s%.0f:%0*.*f", sign, minutes, width, nbr_decimals,
                      rounded - minutes * 60);
    }
    return txt;
}

} // namespace ulk::host::render
