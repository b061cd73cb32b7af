#pragma once

namespace ulk::host::render {

// The highest level between the samples of one channel, by oversampling: by 4 below 96 kHz, by 2
// below 192 kHz, not at all above (ITU-R BS.1770-4, annex 2). The interpolator has 49 coefficients,
// a sinc under a Hann window. Stretches that cannot raise the peak, by the sum of the filter's
// magnitudes, are passed over, which loses nothing.
class TruePeak {
public:
    // Allocates nothing. sample_freq in Hz.
    explicit TruePeak(double sample_freq);

    // Finite samples, and the highest magnitude among them. Blocks may be cut anywhere. real-time
    void push(float const* spl_arr, long len, float block_peak);

    // 1 is full scale; never below the highest magnitude pushed.
    float get_peak() const { return _peak; }

private:
    static constexpr int _nbr_coef = 49; // over all phases
    static constexpr int _max_nbr_taps = 24;
    static constexpr int _max_tail_len = 2 * _max_nbr_taps;
    static constexpr int _max_block_len = 240;

    void push_block(float const* spl_arr, int len, float block_peak);
    template <int NBR_TAPS>
    void scan(float const* spl_arr, int len);
    template <int NBR_TAPS>
    void interpolate(float const* spl_arr);

    int _ratio;                              // 4, 2 or 1
    int _nbr_taps;                           // of a phase
    double _coef_arr[3][_max_nbr_taps] = {}; // phase 0 gives the samples themselves
    double _gain = 1;                        // highest possible ratio of output to input
    float _peak = 0;
    float _tail_arr[_max_tail_len] = {}; // the last samples
};

} // namespace ulk::host::render
