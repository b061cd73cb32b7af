#include "ulk/dsp/wnd/HannPoisson.h"

#include <cmath>
#include <numbers>

namespace ulk::dsp::wnd {

HannPoisson::HannPoisson(double alpha)
    : _alpha(alpha) {}

void HannPoisson::set_alpha(double alpha) {
    _alpha = alpha;
}

void HannPoisson::do_make_win(double* data, long nbr_spl) {
    double const half = static_cast<double>(nbr_spl) / 2;
    for (long i = 0; i < nbr_spl; ++i) {
        double const t = (static_cast<double>(i) - half) / half;
        data[i] = 0.5 * (1 + std::cos(std::numbers::pi * t)) * std::exp(-_alpha * std::fabs(t));
    }
}

} // namespace ulk::dsp::wnd
