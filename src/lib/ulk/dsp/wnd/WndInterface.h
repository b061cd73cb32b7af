#pragma once

namespace ulk::dsp::wnd {

// Generator of windows for spectral analysis and filter design. Not for the real-time thread: it
// allocates, and the cost may grow with the square of the length.
class WndInterface {
public:
    virtual ~WndInterface() = default;

    // Writes nbr_spl values to data. Below 1 nothing is written.
    void make_win(double* data, long nbr_spl) { do_make_win(data, nbr_spl); }

protected:
    virtual void do_make_win(double* data, long nbr_spl) = 0;
};

} // namespace ulk::dsp::wnd
