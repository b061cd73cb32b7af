#pragma once

#include <bit>

namespace ulk::math {

// Constants of four-lane vector code, one vector each, on 16-byte boundaries whatever the
// processor.
class CstSse {
    static constexpr float FULL = std::bit_cast<float>(0xFFFFFFFFU);
    static constexpr float ABS = std::bit_cast<float>(0x7FFFFFFFU);
    static constexpr float SIGN = std::bit_cast<float>(0x80000000U);
    static constexpr float EXPONENT = std::bit_cast<float>(0x7F800000U);
    static constexpr float MANTISSA = std::bit_cast<float>(0x007FFFFFU);
    static constexpr float BIAS = std::bit_cast<float>(0x3F800000U);

public:
    static constexpr int NBR_LANES = 4;

    alignas(16) static constexpr float _zero[NBR_LANES] = {0, 0, 0, 0};
    alignas(16) static constexpr float _one[NBR_LANES] = {1, 1, 1, 1};
    alignas(16) static constexpr float _one_neg[NBR_LANES] = {-1, -1, -1, -1};
    alignas(16) static constexpr float _half[NBR_LANES] = {0.5f, 0.5f, 0.5f, 0.5f};
    alignas(16) static constexpr float _half_neg[NBR_LANES] = {-0.5f, -0.5f, -0.5f, -0.5f};
    // 2^23: the mantissa of its sum with a smaller positive number is that number, rounded.
    alignas(16) static constexpr float _int_magic[NBR_LANES] = {8388608, 8388608, 8388608, 8388608};
    // Positions of the lanes between two values: from the first one, or up to the second one.
    alignas(16) static constexpr float _lerp_beg_0[NBR_LANES] = {0, 0.25f, 0.5f, 0.75f};
    alignas(16) static constexpr float _lerp_end_1[NBR_LANES] = {0.25f, 0.5f, 0.75f, 1};

    // Bit patterns.
    alignas(16) static constexpr float _mask_full[NBR_LANES] = {FULL, FULL, FULL, FULL};
    alignas(16) static constexpr float _mask_abs[NBR_LANES] = {ABS, ABS, ABS, ABS};
    alignas(16) static constexpr float _mask_sign[NBR_LANES] = {SIGN, SIGN, SIGN, SIGN};
    alignas(16) static constexpr float _mask_exponent[NBR_LANES] = {EXPONENT, EXPONENT, EXPONENT,
                                                                    EXPONENT};
    alignas(16) static constexpr float _mask_mantissa[NBR_LANES] = {MANTISSA, MANTISSA, MANTISSA,
                                                                    MANTISSA};
    alignas(16) static constexpr float _exponent_bias[NBR_LANES] = {BIAS, BIAS, BIAS, BIAS};
    // Row n has all bits set in the first n lanes and none in the others.
    alignas(16) static constexpr float _mask_vect_part[NBR_LANES][NBR_LANES] = {
        {0, 0, 0, 0}, {FULL, 0, 0, 0}, {FULL, FULL, 0, 0}, {FULL, FULL, FULL, 0}};
};

} // namespace ulk::math
