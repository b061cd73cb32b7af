#pragma once

#include "ulk/dsp/wnd/WndInterface.h"

namespace ulk::dsp::wnd {

// Dolph-Chebyshev window: side lobes of equal height (C. L. Dolph, "A current distribution for
// broadside arrays", Proc. IRE 34, 1946). The centre is 1. An even window is a 0.0 followed by the
// odd window of one value less.
class DolphCheby : public WndInterface {
public:
    // Height of the side lobes, that of the main lobe being 1; above 0 and below 1.
    explicit DolphCheby(double ripple_ratio);
    void set_ripple_ratio(double ripple_ratio);

    // Chebyshev polynomial of the first kind T_n(x), n from 0 on.
    static double cheby_poly(double x, int n);

protected:
    void do_make_win(double* data, long nbr_spl) override;

private:
    double _ripple_ratio;
};

} // namespace ulk::dsp::wnd
