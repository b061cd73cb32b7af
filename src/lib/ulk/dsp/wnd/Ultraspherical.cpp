#include "ulk/dsp/wnd/Ultraspherical.h"

#include "ulk/dsp/wnd/CosTable.h"

#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace ulk::dsp::wnd {

namespace {

constexpr double TOLERANCE = 1e-6;

} // namespace

Ultraspherical::Ultraspherical(double mu, double x_mu)
    : _mu(mu)
    , _x_mu(x_mu) {}

void Ultraspherical::set_mu(double mu) {
    _mu = mu;
}

void Ultraspherical::set_x_mu(double x_mu) {
    _x_mu = x_mu;
}

void Ultraspherical::compute_c(double& c, double& c_prev, long n, double mu, double x) {
    c_prev = 0;
    c = 1;
    if (n < 1) {
        return;
    }
    c_prev = 1;
    c = 2 * mu * x;
    for (long m = 2; m <= n; ++m) {
        double const order = static_cast<double>(m);
        double const next = (2 * x * (order - 1 + mu) * c - (order - 2 + 2 * mu) * c_prev) / order;
        c_prev = c;
        c = next;
    }
}

double Ultraspherical::compute_c(long n, double mu, double x) {
    double c;
    double c_prev;
    compute_c(c, c_prev, n, mu, x);
    return c;
}

double Ultraspherical::compute_largest_zero_of_c(long n, double mu, double target,
                                                 double tolerance) {
    if (n < 1) {
        return 1; // a constant: no step would ever get smaller
    }
    double const order = static_cast<double>(n);
    if (mu == 0) {
        return std::cos(std::numbers::pi / 2 / order);
    }
    double x = std::sqrt(order * order + 2 * order * mu - 2 * mu - 1) / (mu + order);
    double step;
    do {
        double const derivative = 2 * mu * compute_c(n - 1, mu + 1, x);
        step = (compute_c(n, mu, x) - target) / derivative;
        x -= step;
    } while (std::fabs(step) >= tolerance);
    return x;
}

double Ultraspherical::compute_a(long nbr_spl, double mu, double /*unused*/) {
    if (nbr_spl == 1) {
        return 1;
    }
    double const x = compute_largest_zero_of_c(nbr_spl - 2, mu + 1, 0, TOLERANCE);
    return std::fabs(compute_c(nbr_spl - 1, mu, x));
}

double Ultraspherical::compute_x_mu_for_prescribed_ripple_ratio(long nbr_spl, double mu,
                                                                double ripple_ratio) {
    double const height = compute_a(nbr_spl, mu, 0);
    return compute_largest_zero_of_c(nbr_spl - 1, mu, height / ripple_ratio, TOLERANCE);
}

double Ultraspherical::compute_x_mu_for_prescribed_main_lobe_width(long nbr_spl, double mu,
                                                                   double width) {
    double const height = compute_a(nbr_spl, mu, 0);
    double const x = compute_largest_zero_of_c(nbr_spl - 1, mu, height, TOLERANCE);
    return x / std::cos(width * std::numbers::pi / 2);
}

void Ultraspherical::do_make_win(double* data, long nbr_spl) {
    if (nbr_spl < 1) {
        return;
    }
    long const half = nbr_spl / 2;
    long const order = 2 * half;
    double const period = static_cast<double>(order + 1);
    std::vector<double> spectrum(static_cast<std::size_t>(half) + 1);
    for (long k = 0; k <= half; ++k) {
        double const x = _x_mu * std::cos(std::numbers::pi / period * static_cast<double>(k));
        double const val = compute_c(order, _mu, x);
        spectrum[static_cast<std::size_t>(k)] = k > 0 ? 2 * val : val;
    }

    // The phase is (i + offset) * 2 pi / (order + 1): the table has two steps a sample for the
    // half.
    CosTable const table(2 * (order + 1));
    bool const odd_flag = nbr_spl % 2 != 0;
    long const last = odd_flag ? half : half - 1;
    double gain = 1;
    for (long i = 0; i <= last; ++i) {
        long const step = 2 * i + (odd_flag ? 0 : 1);
        double const val =
            table.sum_harmonics(spectrum[0], spectrum.data(), half + 1, step) / period;
        if (i == 0) {
            gain = val;
        }
        data[half + i] = data[last - i] = val / gain;
    }
}

} // namespace ulk::dsp::wnd
