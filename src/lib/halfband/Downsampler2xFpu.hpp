#pragma once

#include "halfband/Downsampler2xFpu.h"

#include <algorithm>

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
typename Downsampler2xFpu<NC>::Branches Downsampler2xFpu<NC>::process_pair(float s0, float s1) {
    float branch_arr[2] = {s1, s0};
    for (int k = 0; k < NC; k += 2) {
        float out_arr[2];
        for (int branch = 0; branch < 2; ++branch) { // side by side, as two lanes
            int const pos = k + branch;
            out_arr[branch] = (branch_arr[branch] - _y[pos]) * _coef[pos] + _x[pos];
            _x[pos] = branch_arr[branch];
            _y[pos] = out_arr[branch];
        }
        branch_arr[0] = out_arr[0];
        branch_arr[1] = out_arr[1];
    }
    return {branch_arr[0], branch_arr[1]};
}

template <int NC>
float Downsampler2xFpu<NC>::process_sample(float const* src) {
    Branches const res = process_pair(src[0], src[1]);
    return (res.even + res.odd) * 0.5f;
}

template <int NC>
void Downsampler2xFpu<NC>::process_sample_split(float& low, float& high, float const* src) {
    Branches const res = process_pair(src[0], src[1]);
    low = (res.even + res.odd) * 0.5f;
    high = res.even - low;
}

// A local copy tells the compiler that dest never overlaps the state, which then stays in
// registers.
template <int NC>
void Downsampler2xFpu<NC>::process_block(float* dest, float const* src, long nbr_spl) {
    Downsampler2xFpu local(*this);
    for (long pos = 0; pos < nbr_spl; ++pos) {
        dest[pos] = local.process_sample(src + 2 * pos);
    }
    *this = local;
}

template <int NC>
void Downsampler2xFpu<NC>::process_block_split(float* low, float* high, float const* src,
                                               long nbr_spl) {
    Downsampler2xFpu local(*this);
    for (long pos = 0; pos < nbr_spl; ++pos) {
        local.process_sample_split(low[pos], high[pos], src + 2 * pos);
    }
    *this = local;
}

} // namespace halfband
