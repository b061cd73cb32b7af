#include "ulk/dsp/wnd/CosineSum.h"
#include "ulk/dsp/wnd/DolphCheby.h"
#include "ulk/dsp/wnd/HannPoisson.h"
#include "ulk/dsp/wnd/Kaiser.h"
#include "ulk/dsp/wnd/Ultraspherical.h"

#include <cmath>
#include <complex>
#include <numbers>
#include <type_traits>

namespace {

using namespace ulk::dsp::wnd;

double const PI = std::numbers::pi;

static_assert(std::is_abstract_v<WndInterface>);
static_assert(std::has_virtual_destructor_v<WndInterface>);

// The guard behind the end must survive.
std::vector<double> make(WndInterface& wnd, long nbr_spl) {
    std::vector<double> data(static_cast<std::size_t>(nbr_spl) + 1, -7.0);
    wnd.make_win(data.data(), nbr_spl);
    EXPECT_EQ(data.back(), -7.0);
    data.pop_back();
    return data;
}

void check(std::vector<double> const& win, std::vector<double> const& expected, double tol) {
    ASSERT_EQ(win.size(), expected.size());
    for (std::size_t i = 0; i < win.size(); ++i) {
        ASSERT_NEAR(win[i], expected[i], tol) << i << " of " << win.size();
    }
}

void check_mirrored(WndInterface& wnd, std::vector<double> expected, long nbr_spl) {
    expected.resize(static_cast<std::size_t>(nbr_spl));
    for (std::size_t i = 0; i < expected.size() / 2; ++i) {
        expected[expected.size() - 1 - i] = expected[i];
    }
    check(make(wnd, nbr_spl), expected, 1e-14);
}

double compute_spectrum(std::vector<double> const& win, double w) {
    std::complex<double> sum = 0;
    for (std::size_t i = 0; i < win.size(); ++i) {
        sum += win[i] * std::polar(1.0, -w * static_cast<double>(i));
    }
    return std::abs(sum);
}

// Highest side lobe over the main one, for a window whose main lobe ends at w_end.
double measure_ripple(std::vector<double> const& win, double w_end) {
    double peak = 0;
    for (int i = 0; i <= 20000; ++i) {
        peak = std::max(peak, compute_spectrum(win, w_end + (PI - w_end) * i / 20000));
    }
    return peak / compute_spectrum(win, 0);
}

TEST(CosineSumTest, KnownValues) {
    CosineSum wnd(1);
    check(make(wnd, 4),
          {0.0767107893414502, 0.18471511006238031, 0.45819165022552723, 0.76917769733536255},
          1e-15);
}

// Each row is a window that starts near 0, and whose maximum, half a period later, is near 1.
TEST(CosineSumTest, EveryRowHasItsTermsAndBothDivisions) {
    for (int order = 1; order <= 10; ++order) {
        CosineSum wnd(order == 1 ? 2 : 1);
        wnd.set_order(order);
        std::vector<double> const two = make(wnd, 2); // phases 0 and 2 pi
        EXPECT_NEAR(two[0], two[1], 1e-14);
        EXPECT_LT(two[0], 0.08);
        EXPECT_GT(two[0], -1e-6);
        std::vector<double> const three = make(wnd, 3); // 0, pi / 2, pi
        EXPECT_NEAR(three[2], 1.0, 2e-8) << order;
        std::vector<double> const fine = make(wnd, 100);
        for (std::size_t i = 1; i < 100; ++i) {
            EXPECT_GT(fine[i], fine[i - 1]); // 99 times slower: the rising edge's foot only
        }
    }
}

TEST(CosineSumTest, LengthOfOneIsHarmless) {
    CosineSum wnd(3);
    EXPECT_TRUE(std::isnan(make(wnd, 1)[0]));
    make(wnd, 0);
}

TEST(HannPoissonTest, FollowsTheFormula) {
    for (double alpha : {0.0, 0.5, 2.0, 7.0}) {
        HannPoisson wnd(-1.0);
        wnd.set_alpha(alpha);
        for (long n = 1; n < 40; ++n) {
            std::vector<double> expected;
            for (long i = 0; i < n; ++i) {
                double const x = static_cast<double>(i) / static_cast<double>(n); // 0 to 1
                double const hann = std::pow(std::sin(PI * x), 2);
                expected.push_back(hann * std::exp(-alpha * std::fabs(2 * x - 1)));
            }
            check(make(wnd, n), expected, 1e-14);
        }
    }
}

TEST(HannPoissonTest, WithoutSlopeItIsAHannWindow) {
    HannPoisson wnd(0);
    EXPECT_EQ(make(wnd, 64)[0], 0.0);
    EXPECT_EQ(make(wnd, 64)[32], 1.0);
    make(wnd, 0);
    double guard = 3;
    wnd.make_win(&guard, -4);
    EXPECT_EQ(guard, 3);
}

TEST(KaiserTest, BesselSeries) {
    EXPECT_EQ(Kaiser::compute_i0(0), 1.0);
    EXPECT_NEAR(Kaiser::compute_i0(1), 1.2660658777519989, 1e-15);
    EXPECT_NEAR(Kaiser::compute_i0(5), 27.239871823585667, 1e-13);
    for (double x = 0; x < 30; x += 0.37) { // against the integral of exp(x cos t)
        double sum = 0;
        for (int i = 0; i < 1000; ++i) {
            sum += std::exp(x * std::cos(PI * (i + 0.5) / 1000)) / 1000;
        }
        EXPECT_NEAR(Kaiser::compute_i0(x) / sum, 1.0, 2e-10);
        EXPECT_LE(Kaiser::compute_i0(x) / sum, 1 + 1e-12); // cut short
    }
}

TEST(KaiserTest, KnownValues) {
    Kaiser wnd(4);
    check_mirrored(
        wnd, {0.076674978927350423, 0.49390510320720326, 0.86951581298207676, 0.99705614064930685},
        8);
}

TEST(KaiserTest, TermOfOnePosition) {
    EXPECT_EQ(Kaiser::compute_wp(0, 8, 4), 1.0);
    EXPECT_EQ(Kaiser::compute_wp(4, 8, 4), 1.0);
    EXPECT_EQ(Kaiser::compute_wp(2, 8, 4), Kaiser::compute_i0(2 * PI));
    EXPECT_NEAR(Kaiser::compute_wp(1, 9, 0.1f),
                Kaiser::compute_i0(0.1f * PI * std::sqrt(1 - 25.0 / 81) / 2), 1e-15);
}

TEST(KaiserTest, HalvesAreComplementary) {
    Kaiser wnd(0);
    for (double alpha : {0.5, 2.0, 9.3}) {
        wnd.set_alpha(alpha);
        for (long n = 2; n <= 64; n += 2) {
            std::vector<double> const win = make(wnd, n);
            std::size_t const half = win.size() / 2;
            for (std::size_t i = 0; i < half; ++i) {
                ASSERT_NEAR(win[i] * win[i] + win[i + half] * win[i + half], 1.0, 1e-12);
                ASSERT_EQ(win[i], win[win.size() - 1 - i]);
            }
        }
    }
}

TEST(KaiserTest, OddAndTinyLengths) {
    Kaiser wnd(4);
    EXPECT_EQ(make(wnd, 1), std::vector<double>{1.0});
    check(make(wnd, 2), {std::sqrt(0.5), std::sqrt(0.5)}, 1e-15);
    for (long n = 3; n < 30; n += 2) {
        EXPECT_EQ(make(wnd, n)[static_cast<std::size_t>(n / 2)], 1.0);
    }
    make(wnd, 0);
}

TEST(KaiserTest, AlphaHasThePrecisionOfAFloat) {
    Kaiser a(0.1), b(static_cast<double>(0.1f)), c(0.1 + 1e-7);
    EXPECT_EQ(make(a, 32), make(b, 32));
    EXPECT_NE(make(a, 32), make(c, 32));
}

TEST(DolphChebyTest, Polynomial) {
    for (double x = -2; x <= 2; x += 0.01) {
        double prev = 1;
        double cur = x;
        EXPECT_EQ(DolphCheby::cheby_poly(x, 0), 1.0);
        for (int n = 1; n < 12; ++n) {
            ASSERT_NEAR(DolphCheby::cheby_poly(x, n), cur, 1e-10 * std::max(1.0, std::fabs(cur)))
                << x << ' ' << n;
            double const next = 2 * x * cur - prev;
            prev = cur;
            cur = next;
        }
    }
}

TEST(DolphChebyTest, KnownValues) {
    DolphCheby wnd(0.01);
    check_mirrored(
        wnd, {0.12988893124000789, 0.34941618282388026, 0.6431567359392453, 0.89842065926271445, 1},
        9);
}

TEST(DolphChebyTest, EvenWindowIsAZeroAndTheOddOne) {
    DolphCheby even(0.5), odd(0.003);
    even.set_ripple_ratio(0.003);
    for (long n = 4; n < 50; n += 2) {
        std::vector<double> const win = make(even, n);
        EXPECT_EQ(win[0], 0.0);
        check(std::vector<double>(win.begin() + 1, win.end()), make(odd, n - 1), 0);
        EXPECT_EQ(win[static_cast<std::size_t>(n / 2)], 1.0);
    }
}

TEST(DolphChebyTest, SideLobesHaveTheRippleRatio) {
    for (double ratio : {0.1, 0.01, 0.0001}) {
        DolphCheby wnd(ratio);
        for (long n : {9L, 31L, 64L}) {
            double const order = static_cast<double>((n - 1) / 2 * 2);
            double const x0 = std::cosh(std::acosh(1 / ratio) / order);
            double const w_end = 2 * std::acos(1 / x0);
            EXPECT_NEAR(measure_ripple(make(wnd, n), w_end) / ratio, 1.0, 1e-6) << n;
        }
    }
}

TEST(DolphChebyTest, TinyLengths) {
    DolphCheby wnd(0.01);
    EXPECT_EQ(make(wnd, 1), std::vector<double>{1.0});
    EXPECT_EQ(make(wnd, 2), (std::vector<double>{0.0, 1.0}));
    make(wnd, 0);
}

TEST(UltrasphericalTest, Polynomial) {
    for (double mu : {-0.3, 0.0, 0.5, 1.0, 2.5}) {
        for (double x : {-1.1, -0.4, 0.0, 0.3, 0.99, 1.02}) {
            EXPECT_EQ(Ultraspherical::compute_c(0, mu, x), 1.0);
            EXPECT_EQ(Ultraspherical::compute_c(1, mu, x), 2 * mu * x);
            for (long n = 1; n < 12; ++n) { // against the explicit sum over powers
                double sum = 0;
                for (long k = 0; 2 * k <= n; ++k) {
                    double term = 1; // (mu)_(n-k) / (k! (n-2k)!) (2x)^(n-2k) (-1)^k
                    for (long i = 0; i < n - k; ++i) {
                        term *= mu + static_cast<double>(i);
                    }
                    double const fact_k = std::tgamma(static_cast<double>(k + 1));
                    term /= fact_k * std::tgamma(static_cast<double>(n - 2 * k + 1));
                    term *= std::pow(2 * x, n - 2 * k);
                    sum += k % 2 != 0 ? -term : term;
                }
                double c, c_prev;
                Ultraspherical::compute_c(c, c_prev, n, mu, x);
                EXPECT_NEAR(c, sum, 1e-9 * std::max(1.0, std::fabs(sum)));
                EXPECT_EQ(c_prev, Ultraspherical::compute_c(n - 1, mu, x));
                EXPECT_EQ(c, Ultraspherical::compute_c(n, mu, x));
            }
        }
    }
}

TEST(UltrasphericalTest, LargestZero) {
    for (double mu : {0.3, 1.0, 2.0, 4.5}) {
        for (long n = 1; n < 25; ++n) {
            double const x = Ultraspherical::compute_largest_zero_of_c(n, mu, 0, 1e-6);
            EXPECT_NEAR(Ultraspherical::compute_c(n, mu, x), 0, 1e-5);
            for (double y = x + 1e-3; y < 1.2; y += 1e-3) {
                EXPECT_GT(Ultraspherical::compute_c(n, mu, y), 0) << n << ' ' << mu << ' ' << y;
            }
            double const z = Ultraspherical::compute_largest_zero_of_c(n, mu, 5.0, 1e-9);
            EXPECT_NEAR(Ultraspherical::compute_c(n, mu, z), 5.0, 1e-6);
        }
    }
}

TEST(UltrasphericalTest, ZeroOfChebyshevIgnoresTheTarget) {
    for (long n = 1; n < 20; ++n) {
        double const x = Ultraspherical::compute_largest_zero_of_c(n, 0, 0, 1e-6);
        EXPECT_NEAR(std::cos(static_cast<double>(n) * std::acos(x)), 0, 1e-14);
        EXPECT_EQ(x, Ultraspherical::compute_largest_zero_of_c(n, 0, 1e9, 1));
    }
}

TEST(UltrasphericalTest, SideLobeHeight) {
    EXPECT_EQ(Ultraspherical::compute_a(1, 0.7, 0), 1.0);
    for (double mu : {0.5, 1.0, 2.0}) {
        for (long n = 4; n < 20; ++n) {
            double const zero = Ultraspherical::compute_largest_zero_of_c(n - 1, mu, 0, 1e-9);
            double const second = Ultraspherical::compute_largest_zero_of_c(n - 2, mu + 1, 0, 1e-9);
            double peak = 0; // of the lobe below the largest zero
            for (int i = 0; i < 4000; ++i) {
                double const x = zero - (zero - second) * 2 * i / 4000;
                double const c = Ultraspherical::compute_c(n - 1, mu, x);
                peak = c < 0 ? std::max(peak, -c) : peak;
            }
            EXPECT_NEAR(Ultraspherical::compute_a(n, mu, 3.0) / peak, 1.0, 1e-4) << n << ' ' << mu;
        }
    }
}

TEST(UltrasphericalTest, KnownValues) {
    Ultraspherical wnd(1, 1.02);
    check_mirrored(wnd, {0.67750591621839823, 0.83666144693549156, 0.941503450992958, 1}, 8);
}

// The window is the inverse transform of the polynomial, at whole and at half steps.
TEST(UltrasphericalTest, FollowsTheDefinition) {
    Ultraspherical wnd(3, 3);
    for (double mu : {-0.2, 0.6, 1.0, 3.0}) {
        for (double x_mu : {1.0, 1.01, 1.2}) {
            wnd.set_mu(mu);
            wnd.set_x_mu(x_mu);
            for (long n = 1; n < 40; ++n) {
                long const half = n / 2;
                double const len = static_cast<double>(2 * half + 1);
                std::vector<double> expected(static_cast<std::size_t>(n));
                for (long i = 0; i < n; ++i) {
                    double const t = static_cast<double>(i) - static_cast<double>(n - 1) / 2;
                    double sum = 0; // over the whole circle
                    for (long k = -half; k <= half; ++k) {
                        double const w = PI * static_cast<double>(k) / len;
                        sum += Ultraspherical::compute_c(2 * half, mu, x_mu * std::cos(w)) *
                               std::cos(2 * w * t);
                    }
                    expected[static_cast<std::size_t>(i)] = sum;
                }
                double const centre = expected[static_cast<std::size_t>(half)];
                for (double& val : expected) {
                    val /= centre;
                }
                check(make(wnd, n), expected, 1e-9);
            }
        }
    }
}

TEST(UltrasphericalTest, PrescribedRippleRatioAndWidthAreMet) {
    for (double mu : {0.5, 1.0, 2.0}) {
        for (long n : {11L, 31L}) {
            double const x_mu =
                Ultraspherical::compute_x_mu_for_prescribed_ripple_ratio(n, mu, 0.01);
            Ultraspherical wnd(mu, x_mu);
            double const height = Ultraspherical::compute_a(n, mu, 0);
            double const edge =
                Ultraspherical::compute_largest_zero_of_c(n - 1, mu, height, 1e-6) / x_mu;
            EXPECT_NEAR(measure_ripple(make(wnd, n), 2 * std::acos(edge)) / 0.01, 1.0, 1e-3);

            double const width = 0.3;
            double const x_width =
                Ultraspherical::compute_x_mu_for_prescribed_main_lobe_width(n, mu, width);
            double const reached =
                Ultraspherical::compute_c(n - 1, mu, x_width * std::cos(width * PI / 2));
            EXPECT_NEAR(reached / height, 1.0, 1e-4);
        }
    }
}

TEST(WndTest, LengthsBelowOneWriteNothing) {
    CosineSum cosine_sum(3);
    DolphCheby dolph_cheby(0.01);
    HannPoisson hann_poisson(1);
    Kaiser kaiser(4);
    Ultraspherical ultraspherical(1, 1.02);
    for (WndInterface* wnd : std::initializer_list<WndInterface*>{
             &cosine_sum, &dolph_cheby, &hann_poisson, &kaiser, &ultraspherical}) {
        for (long n : {0L, -1L, -2L, -7L, -1000L}) {
            double guard = 3;
            wnd->make_win(&guard, n);
            EXPECT_EQ(guard, 3);
        }
    }
}

TEST(UltrasphericalTest, TinyLengths) {
    Ultraspherical wnd(1, 1.02);
    EXPECT_EQ(make(wnd, 1), std::vector<double>{1.0});
    EXPECT_EQ(make(wnd, 2), (std::vector<double>{1.0, 1.0}));
    make(wnd, 0);
    for (long n = 1; n < 4; ++n) { // designs come back, and give windows
        wnd.set_x_mu(Ultraspherical::compute_x_mu_for_prescribed_ripple_ratio(n, 1, 0.1));
        EXPECT_EQ(make(wnd, n)[0], make(wnd, n).back());
        wnd.set_x_mu(Ultraspherical::compute_x_mu_for_prescribed_main_lobe_width(n, 1, 0.5));
        EXPECT_GT(make(wnd, n)[0], 0);
    }
}

} // namespace
