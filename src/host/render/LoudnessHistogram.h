#pragma once

#include <vector>

namespace ulk::host::render {

// How often which loudness occurred, from the absolute gate of -70 LUFS up, in steps of 0.01 LU.
// Sums of energy stand beside the counts, so that means are exact but for the step at a gate.
// An energy is the weighted mean square that BS.1770 makes a loudness of.
class LoudnessHistogram {
public:
    LoudnessHistogram();

    // Passes over what is below the absolute gate. real-time
    void add(double energy);

    // Mean energy of the entries that are not further than gate (LU, positive) below the mean of
    // all; 0 where there is none.
    double compute_gated_mean(double gate) const;

    // The energy that the fraction ratio (0 to 1) of the entries so gated does not exceed; 0 where
    // there is none.
    double compute_gated_quantile(double gate, double ratio) const;

    static double conv_to_lufs(double energy); // -inf for 0
    static double conv_to_energy(double lufs);

private:
    struct Bin {
        long long count = 0;
        double sum = 0; // energy
    };

    // The entries of the bins from the index on, summed up.
    Bin sum_up(std::size_t beg) const;
    std::size_t find_gate(double gate) const;

    std::vector<Bin> _bin_arr;
};

} // namespace ulk::host::render
