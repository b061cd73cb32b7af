#pragma once

#include "halfband/Downsampler2xFpu.h"

#include <algorithm>
#include <cstring>

namespace halfband {

template <int NC>
void Downsampler2xFpu<NC>::set_coefs(double const* coef_arr) {
    std::transform(coef_arr, coef_arr + NC, _coef, [](double c) { return static_cast<float>(c); });
}

template <int NC>
void Downsampler2xFpu<NC>::clear_buffers() {
    std::fill_n(_x, NC, 0.0f);
    std::fill_n(_y, NC, 0.0f);
}

template <int NC>
float Downsampler2xFpu<NC>::process_sample(float const* src) {
    float low;
    process_block(&low, src, 1);
    return low;
}

template <int NC>
void Downsampler2xFpu<NC>::process_sample_split(float& low, float& high, float const* src) {
    process_block_split(&low, &high, src, 1);
}

template <int NC>
void Downsampler2xFpu<NC>::process_block(float* dest, float const* src, long nbr_spl) {
    process(src, nbr_spl,
            [=](long pos, float even, float odd) { dest[pos] = (even + odd) * 0.5f; });
}

template <int NC>
void Downsampler2xFpu<NC>::process_block_split(float* low, float* high, float const* src,
                                               long nbr_spl) {
    process(src, nbr_spl, [=](long pos, float even, float odd) {
        float const sum = (even + odd) * 0.5f;
        low[pos] = sum;
        high[pos] = even - sum;
    });
}

// Calls put(position, result of the even branch, result of the odd one) for each pair of samples.
// Both branches go side by side, the one fed by the second sample of a pair first, on locals that
// stay in registers. A section's last output is the next one's last input, so that one memory of
// both is enough: line[k] enters section k, line[k + 1] has left it.
template <int NC>
template <class F>
void Downsampler2xFpu<NC>::process(float const* src, long nbr_spl, F put) {
    using Pair = float __attribute__((vector_size(2 * sizeof(float))));
    constexpr int nbr_sections = NC / 2;
    Pair coef[nbr_sections];
    Pair line[nbr_sections + 1];
    std::memcpy(coef, _coef, sizeof(_coef));
    std::memcpy(line, _x, sizeof(_x));
    std::memcpy(line + nbr_sections, _y + NC - 2, sizeof(Pair));
    for (long pos = 0; pos < nbr_spl; ++pos) {
        Pair val = {src[2 * pos + 1], src[2 * pos]};
#pragma GCC unroll 8
        for (int k = 0; k < nbr_sections; ++k) {
            Pair const out = (val - line[k + 1]) * coef[k] + line[k];
            line[k] = val;
            val = out;
        }
        line[nbr_sections] = val;
        put(pos, val[0], val[1]);
    }
    std::memcpy(_x, line, sizeof(_x));
    std::memcpy(_y, line + 1, sizeof(_y));
}

} // namespace halfband
