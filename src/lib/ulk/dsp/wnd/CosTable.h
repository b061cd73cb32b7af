#pragma once

#include <vector>

namespace ulk::dsp::wnd {

// One period of a cosine, for sums over harmonics of a few phases only: cos(2 pi i / period).
class CosTable {
public:
    explicit CosTable(long period); // at least 1

    // offset + the sum for k from 1 to nbr_coefs - 1 of coef_arr[k] * cos(2 pi k step / period),
    // step at least 0.
    double sum_harmonics(double offset, double const* coef_arr, long nbr_coefs, long step) const;

private:
    std::vector<double> _table;
};

} // namespace ulk::dsp::wnd
