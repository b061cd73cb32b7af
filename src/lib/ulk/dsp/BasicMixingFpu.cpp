#include "ulk/dsp/BasicMixingFpu.h"

#include <algorithm>

namespace ulk::dsp {

template class mixing::Forms<void, void>;

void BasicMixingFpu::copy_1_ni1(D d, S s, long n, int stride) {
    for (long i = 0; i < n; ++i) {
        d[i * stride] = s[i];
    }
}

void BasicMixingFpu::copy_ni1_1(D d, S s, long n, int stride) {
    for (long i = 0; i < n; ++i) {
        d[i] = s[i * stride];
    }
}

void BasicMixingFpu::copy_nip_mip(D d, S s, long n, int d_stride, int s_stride, int count) {
    for (long i = 0; i < n; ++i) {
        std::copy_n(s + i * s_stride, count, d + i * d_stride);
    }
}

void BasicMixingFpu::mix_ni1_1(D d, S s, long n, int stride) {
    for (long i = 0; i < n; ++i) {
        d[i] += s[i * stride];
    }
}

void BasicMixingFpu::clear_nim(D d, long n, int count, int skip) {
    if (skip == 0) {
        std::fill_n(d, n * count, 0.0f);
    } else {
        for (long i = 0; i < n; ++i) {
            std::fill_n(d + i * (count + skip), count, 0.0f);
        }
    }
}

} // namespace ulk::dsp
