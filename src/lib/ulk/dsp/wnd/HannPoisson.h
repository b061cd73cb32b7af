#pragma once

#include "ulk/dsp/wnd/WndInterface.h"

namespace ulk::dsp::wnd {

// Product of a Hann window and a two-sided exponential. With t going from -1 on, in steps of
// 2 / nbr_spl: 0.5 * (1 + cos(pi * t)) * exp(-alpha * |t|).
class HannPoisson : public WndInterface {
public:
    explicit HannPoisson(double alpha); // 0 for a Hann window
    void set_alpha(double alpha);

protected:
    void do_make_win(double* data, long nbr_spl) override;

private:
    double _alpha;
};

} // namespace ulk::dsp::wnd
