#pragma once

#include "ulk/dsp/wnd/WndInterface.h"

namespace ulk::dsp::wnd {

// Kaiser-Bessel-derived window, as lapped transforms use it: the squares of two halves that overlap
// add up to 1. Each half is the root of a running sum of a Kaiser window of alpha, in the form
// I0(pi * alpha * sqrt(1 - u^2) / 2) with u from -1 to 1 over the half's length.
class Kaiser : public WndInterface {
public:
    explicit Kaiser(double alpha); // used at the precision of a float
    void set_alpha(double alpha);

    // Modified Bessel function of the first kind, order 0, by its power series up to the first term
    // that is less than 1e-10 of the sum.
    static double compute_i0(double x);
    // One term of the running sum: pos from 0 to nbr_spl / 2.
    static double compute_wp(long pos, long nbr_spl, float alpha);

protected:
    void do_make_win(double* data, long nbr_spl) override;

private:
    double _alpha;
};

} // namespace ulk::dsp::wnd
