#include "ulk/dsp/wnd/DolphCheby.h"

#include "ulk/dsp/wnd/CosTable.h"

#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace ulk::dsp::wnd {

namespace {

double compute_acosh(double x) {
    return std::log(x + std::sqrt(x * x - 1));
}

} // namespace

DolphCheby::DolphCheby(double ripple_ratio)
    : _ripple_ratio(ripple_ratio) {}

void DolphCheby::set_ripple_ratio(double ripple_ratio) {
    _ripple_ratio = ripple_ratio;
}

double DolphCheby::cheby_poly(double x, int n) {
    if (std::fabs(x) <= 1) {
        return std::cos(n * std::acos(x));
    }
    double const val = std::cosh(n * compute_acosh(std::fabs(x)));
    return x < 0 && n % 2 != 0 ? -val : val; // T_n is even or odd, as n is
}

void DolphCheby::do_make_win(double* data, long nbr_spl) {
    if (nbr_spl < 1) {
        return;
    }
    long const half = (nbr_spl - 1) / 2;
    int const order = static_cast<int>(2 * half);
    double const w = 2 * std::numbers::pi / (order + 1);
    double const x0 = std::cosh(compute_acosh(1 / _ripple_ratio) / order);
    std::vector<double> spectrum(static_cast<std::size_t>(half) + 1);
    for (long k = 1; k <= half; ++k) {
        double const x = x0 * std::cos(w * static_cast<double>(k) / 2);
        spectrum[static_cast<std::size_t>(k)] = cheby_poly(x, order);
    }

    CosTable const table(order + 1);
    long const centre = nbr_spl - half - 1;
    data[0] = 0; // stays in an even window
    data[centre] = 1;
    double gain = 1;
    for (long j = 0; j <= half; ++j) {
        double const sum = table.sum_harmonics(0, spectrum.data(), half + 1, j);
        double const val = 2 * _ripple_ratio * sum + 1;
        if (j == 0) {
            gain = 1 / val;
        } else {
            data[centre - j] = data[centre + j] = val * gain;
        }
    }
}

} // namespace ulk::dsp::wnd
