#pragma once

namespace ulk::dsp {

// Second-order recursive filter, direct form I, in single precision:
//     y[n] = b0 x[n] + b1 x[n-1] + b2 x[n-2] - (a1 y[n-1] + a2 y[n-2])
// New, it copies its input. For one thread at a time; every operation is real-time.
class Biquad {
public:
    Biquad() = default;

    void set_coefs(float b0, float b1, float b2, float a1, float a2); // the memory stays
    void clear_buffers();                                             // the coefficients stay

    // dst may be src.
    void process_block(float* dst, float const* src, long nbr_spl);
    // Adds inc_b[0..2] to b0, b1, b2 and inc_a[0..1] to a1, a2 after each sample, for good.
    void process_block(float* dst, float const* src, long nbr_spl, float const* inc_b,
                       float const* inc_a);

private:
    template <class Step>
    void process(float* dst, float const* src, long nbr_spl, Step step);
    float process_sample(float in);

    float _b[3] = {1, 0, 0};
    float _a[3] = {0, 0, 0}; // the first one stands for a0, and is never read
    // The newer input and output lie at _mem_pos, the older ones beside them: a pair of samples
    // needs no move.
    float _mem_x[2] = {0, 0};
    float _mem_y[2] = {0, 0};
    long _mem_pos = 0;
};

} // namespace ulk::dsp
