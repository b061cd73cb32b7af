#include "ulk/dsp/wnd/CosTable.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace ulk::dsp::wnd {

CosTable::CosTable(long period)
    : _table(static_cast<std::size_t>(period)) {
    double const step = 2 * std::numbers::pi / static_cast<double>(period);
    for (std::size_t i = 0; i < _table.size(); ++i) {
        _table[i] = std::cos(step * static_cast<double>(i));
    }
}

double CosTable::sum_harmonics(double offset, double const* coef_arr, long nbr_coefs,
                               long step) const {
    long const period = static_cast<long>(_table.size());
    double const* const table = _table.data();
    step %= period;
    double sum = offset;
    long phase = 0;
    for (long k = 1; k < nbr_coefs; ++k) {
        phase += step;
        phase -= phase >= period ? period : 0;
        sum += coef_arr[k] * table[phase];
    }
    return sum;
}

} // namespace ulk::dsp::wnd
