#include "ulk/dsp/SweepingSin.h"

#include <cmath>
#include <numbers>

namespace ulk::dsp {

namespace {

void generate_sine(float* dst, long len, double phase, double step) {
    for (long i = 0; i < len; ++i) {
        dst[i] = static_cast<float>(std::sin(phase));
        phase += step;
    }
}

} // namespace

SweepingSin::SweepingSin(double sample_rate, double freq_beg, double freq_end)
    : _sample_rate(sample_rate)
    , _freq_beg(freq_beg)
    , _freq_end(freq_end) {}

void SweepingSin::generate(float* dst, long nbr_spl) const {
    generate(dst, nbr_spl, 0, nbr_spl);
}

// The angular frequency is w0 * exp(k * i), and the phase its integral from 0 on.
void SweepingSin::generate(float* dst, long nbr_spl, long pos, long len) const {
    double const w0 = 2 * std::numbers::pi * _freq_beg / _sample_rate;
    double const beg = static_cast<double>(pos);
    if (_freq_beg == _freq_end) {
        generate_sine(dst, len, beg * w0, w0);
        return;
    }
    double const k = std::log(_freq_end / _freq_beg) / static_cast<double>(nbr_spl);
    double const d = w0 / k;
    if (k > 0) {
        double const c = std::log(w0) + k * beg - std::log(k);
        for (long i = 0; i < len; ++i) {
            dst[i] = static_cast<float>(std::sin(std::exp(static_cast<double>(i) * k + c) - d));
        }
    } else { // k has no logarithm
        for (long i = 0; i < len; ++i) {
            double const x = k * static_cast<double>(pos + i);
            dst[i] = static_cast<float>(std::sin(d * (std::exp(x) - 1)));
        }
    }
}

} // namespace ulk::dsp
