#pragma once

namespace ulk::dsp {

// Sine, or sine sweep with an exponential course of the frequency (A. Farina, "Simultaneous
// measurement of impulse response and distortion with a swept-sine technique", 108th AES
// Convention, 2000). Frequencies in Hz, above 0. The signal starts with the phase 0 at full scale.
class SweepingSin {
public:
    SweepingSin() = default; // from 20 Hz to 20 kHz at 44.1 kHz
    SweepingSin(double sample_rate, double freq_beg, double freq_end);
    virtual ~SweepingSin() = default;

    // The whole signal.
    void generate(float* dst, long nbr_spl) const; // real-time
    // The len samples from pos on of the signal that takes nbr_spl samples.
    void generate(float* dst, long nbr_spl, long pos, long len) const; // real-time

private:
    double _sample_rate = 44100;
    double _freq_beg = 20;
    double _freq_end = 20000;
};

} // namespace ulk::dsp
