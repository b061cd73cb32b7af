#include "ulk/dsp/wnd/Kaiser.h"

#include "ulk/mem/DynArray.h"

#include <cmath>
#include <numbers>

namespace ulk::dsp::wnd {

Kaiser::Kaiser(double alpha)
    : _alpha(alpha) {}

void Kaiser::set_alpha(double alpha) {
    _alpha = alpha;
}

double Kaiser::compute_i0(double x) {
    double sum = 1;
    double num = 1;
    double den = 1;
    double term;
    long k = 1;
    do {
        num *= x / 2;
        den *= static_cast<double>(k);
        term = num / den;
        sum += term * term;
        ++k;
    } while (term * term * 1e10 > sum);
    return sum;
}

double Kaiser::compute_wp(long pos, long nbr_spl, float alpha) {
    double const quarter = static_cast<double>(nbr_spl) * 0.25;
    double const u = (static_cast<double>(pos) - quarter) / quarter;
    double const arg = static_cast<double>(alpha) * std::numbers::pi * std::sqrt(1 - u * u) * 0.5;
    return compute_i0(arg);
}

void Kaiser::do_make_win(double* data, long nbr_spl) {
    if (nbr_spl < 1) {
        return;
    }
    long const half = nbr_spl / 2;
    mem::DynArray<double, 1> cum_arr(half + 1);
    double cum = 0;
    for (long i = 0; i <= half; ++i) {
        cum += compute_wp(i, nbr_spl, static_cast<float>(_alpha));
        cum_arr[i] = cum;
    }
    data[half] = 1; // the centre of an odd window
    for (long i = 0; i < half; ++i) {
        data[i] = data[nbr_spl - 1 - i] = std::sqrt(cum_arr[i] / cum);
    }
}

} // namespace ulk::dsp::wnd
