#pragma once

#include "ulk/archi/types.h"

namespace ulk::math {

// Coefficients of four-lane polynomial approximations, one value in all lanes, on 16-byte
// boundaries whatever the processor.
class ApproxSse {
    static constexpr float THIRD = 1.0f / 3.0f;
    static constexpr float THIRD_2 = 2.0f / 3.0f;
    static constexpr float TANH_A = 0.05003809556365013f;
    static constexpr float TANH_B = 0.13246694207191467f;
    static constexpr float TANH_C = 0.3333927094936371f;
    static constexpr float TANH_D = 0.6666649580001831f;
    static constexpr float FIFTEENTH_2 = 2.0f / 15.0f;

public:
    static constexpr int NBR_LANES = 4;

    alignas(16) static constexpr archi::Int32 _log2_sub[NBR_LANES] = {128, 128, 128, 128};
    alignas(16) static constexpr float _log2_coef_a[NBR_LANES] = {-THIRD, -THIRD, -THIRD, -THIRD};
    alignas(16) static constexpr float _log2_coef_b[NBR_LANES] = {2, 2, 2, 2};
    alignas(16) static constexpr float _log2_coef_c[NBR_LANES] = {-THIRD_2, -THIRD_2, -THIRD_2,
                                                                  -THIRD_2};

    alignas(16) static constexpr archi::Int32 _exp2_add[NBR_LANES] = {127, 127, 127, 127};
    alignas(16) static constexpr float _exp2_coef_a[NBR_LANES] = {THIRD, THIRD, THIRD, THIRD};
    alignas(16) static constexpr float _exp2_coef_b[NBR_LANES] = {THIRD_2, THIRD_2, THIRD_2,
                                                                  THIRD_2};
    alignas(16) static constexpr float _exp2_coef_c[NBR_LANES] = {1, 1, 1, 1};

    alignas(16) static constexpr float _tanh_o6_coef_a[NBR_LANES] = {TANH_A, TANH_A, TANH_A,
                                                                     TANH_A};
    alignas(16) static constexpr float _tanh_o6_coef_b[NBR_LANES] = {TANH_B, TANH_B, TANH_B,
                                                                     TANH_B};
    alignas(16) static constexpr float _tanh_o6_coef_c[NBR_LANES] = {TANH_C, TANH_C, TANH_C,
                                                                     TANH_C};
    alignas(16) static constexpr float _tanh_o6_coef_d[NBR_LANES] = {TANH_D, TANH_D, TANH_D,
                                                                     TANH_D};

    // Taylor series of the tangent, ((a * x^2 + b) * x^2 + c) * x: the one that FilterMoogSse uses.
    alignas(16) static constexpr float _tan_coef_a[NBR_LANES] = {FIFTEENTH_2, FIFTEENTH_2,
                                                                 FIFTEENTH_2, FIFTEENTH_2};
    alignas(16) static constexpr float _tan_coef_b[NBR_LANES] = {THIRD, THIRD, THIRD, THIRD};
    alignas(16) static constexpr float _tan_coef_c[NBR_LANES] = {1, 1, 1, 1};
};

} // namespace ulk::math
