#include "ulk/dsp/Biquad.h"

#include <algorithm>

namespace ulk::dsp {

void Biquad::set_coefs(float b0, float b1, float b2, float a1, float a2) {
    _b[0] = b0;
    _b[1] = b1;
    _b[2] = b2;
    _a[1] = a1;
    _a[2] = a2;
}

void Biquad::clear_buffers() {
    std::fill_n(_mem_x, 2, 0.0f);
    std::fill_n(_mem_y, 2, 0.0f);
    _mem_pos = 0;
}

void Biquad::process_block(float* dst, float const* src, long nbr_spl) {
    process(dst, src, nbr_spl, [](Biquad&) {});
}

void Biquad::process_block(float* dst, float const* src, long nbr_spl, float const* inc_b,
                           float const* inc_a) {
    // Copies, since dst may lie anywhere as far as the compiler knows.
    float const b0 = inc_b[0], b1 = inc_b[1], b2 = inc_b[2];
    float const a1 = inc_a[0], a2 = inc_a[1];
    process(dst, src, nbr_spl, [=](Biquad& flt) {
        flt._b[0] += b0;
        flt._b[1] += b1;
        flt._b[2] += b2;
        flt._a[1] += a1;
        flt._a[2] += a2;
    });
}

// Runs on a copy, which stays in registers for the length of the block.
template <class Step>
void Biquad::process(float* dst, float const* src, long nbr_spl, Step step) {
    Biquad local(*this);
    long pos = 0;
    auto const do_sample = [&] {
        dst[pos] = local.process_sample(src[pos]);
        step(local);
        ++pos;
    };
    if (local._mem_pos != 0 && nbr_spl > 0) {
        do_sample();
    }
    while (nbr_spl - pos >= 2) {
        local._mem_pos = 0;
        do_sample();
        do_sample();
    }
    if (pos < nbr_spl) {
        local._mem_pos = 0;
        do_sample();
    }
    *this = local;
}

inline float Biquad::process_sample(float in) {
    long const old = 1 - _mem_pos;
    float const out = _b[0] * in + _b[1] * _mem_x[_mem_pos] + _b[2] * _mem_x[old] -
                      (_a[1] * _mem_y[_mem_pos] + _a[2] * _mem_y[old]);
    _mem_x[old] = in;
    _mem_y[old] = out;
    _mem_pos = old;
    return out;
}

} // namespace ulk::dsp
