#pragma once

#include "ulk/dsp/wnd/WndInterface.h"

namespace ulk::dsp::wnd {

// Ultraspherical window: its spectrum is a Gegenbauer polynomial C_n of parameter mu, read from
// x_mu down (S. W. A. Bergen and A. Antoniou, "Design of ultraspherical window functions with
// prescribed spectral characteristics", EURASIP JASP 2004:13). mu sets the slope of the side lobes:
// 1 gives the Saramaki window; 0, whose polynomials vanish, gives no numbers. The central values
// are 1.
class Ultraspherical : public WndInterface {
public:
    Ultraspherical(double mu, double x_mu);
    void set_mu(double mu);
    void set_x_mu(double x_mu); // above 1; sets the ripple against the main lobe's width

    // C_n(x), and C_(n-1)(x) in c_prev: 0 for n = 0. n from 0 on.
    static void compute_c(double& c, double& c_prev, long n, double mu, double x);
    static double compute_c(long n, double mu, double x);

    // Largest x with C_n(x) = target, by Newton's method until a step is below tolerance. For mu =
    // 0 it is the largest zero of the Chebyshev polynomial, whatever the target; for n = 0, whose
    // polynomial is constant, 1. Nothing bounds the rounds: for mu below 0, or a tolerance that a
    // double cannot reach, it may never return.
    static double compute_largest_zero_of_c(long n, double mu, double target, double tolerance);

    // Height of the largest side lobe. The last argument has no effect. The same warning holds for
    // mu below 0, here and below. A window of 2 has no side lobe, and gets the main one's 2 mu.
    static double compute_a(long nbr_spl, double mu, double unused);
    // x_mu for side lobes of ripple_ratio, that of the main lobe being 1.
    static double compute_x_mu_for_prescribed_ripple_ratio(long nbr_spl, double mu,
                                                           double ripple_ratio);
    // x_mu for a main lobe that reaches the side lobes' height at width * pi rad per sample.
    static double compute_x_mu_for_prescribed_main_lobe_width(long nbr_spl, double mu,
                                                              double width);

protected:
    void do_make_win(double* data, long nbr_spl) override;

private:
    double _mu;
    double _x_mu;
};

} // namespace ulk::dsp::wnd
