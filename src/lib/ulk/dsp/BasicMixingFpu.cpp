#include "ulk/dsp/BasicMixingFpu.h"

#include <cstring>

namespace ulk::dsp {

void BasicMixingFpu::copy_1_1(float* dst, float const* src, long nbr_spl) {
    if (nbr_spl > 0) {
        std::memmove(dst, src, static_cast<std::size_t>(nbr_spl) * sizeof(float));
    }
}

} // namespace ulk::dsp
