#include "ulk/dsp/GenWhiteNoiseFast.h"

#include <bit>

namespace ulk::dsp {

namespace {

constexpr archi::UInt32 SIGN = 0x80000000;
constexpr archi::UInt32 EXPONENT = 0x7F800000;
constexpr archi::UInt32 MANTISSA_TOP = 0x007F0000;

} // namespace

void GenWhiteNoiseFast::clear_buffers() {
    _state = 1;
}

void GenWhiteNoiseFast::set_rough_level(float level, Mode mode) {
    _base = std::bit_cast<archi::UInt32>(level) & EXPONENT;
    _mask = mode == Mode_POSITIVE ? MANTISSA_TOP : SIGN | MANTISSA_TOP;
    if (mode == Mode_NEGATIVE) {
        _base |= SIGN;
    }
}

float GenWhiteNoiseFast::get_max_level() const {
    return std::bit_cast<float>(_base | MANTISSA_TOP);
}

void GenWhiteNoiseFast::process_block(float* dst, long nbr_spl) {
    for (long i = 0; i < nbr_spl; ++i) {
        dst[i] = generate();
    }
}

void GenWhiteNoiseFast::process_block_add(float* dst, long nbr_spl) {
    for (long i = 0; i < nbr_spl; ++i) {
        dst[i] += generate();
    }
}

float GenWhiteNoiseFast::generate() {
    float const val = std::bit_cast<float>((_state & _mask) | _base);
    _state = _state * 1664525u + 1013904223u;
    return val;
}

} // namespace ulk::dsp
