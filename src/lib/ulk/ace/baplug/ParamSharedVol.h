#pragma once

namespace ulk::ace::baplug {

// Law of the volume parameters: natural (a gain) = MAX_VAL * (base^norm - 1) / (base - 1), with
// base = 2^BASE_L2. Constant, any thread.
template <int MAX_VAL, int BASE_L2>
class ParamSharedVol {
public:
    // 0 or -14484 with 1.0 in the result.
    static int conv_norm_to_nat(double norm, double& nat);
    static int conv_nat_to_norm(double nat, double& norm); // rounded to single precision

    // The same for the process path: 1.0 for a value out of range. real-time
    static double conv_direct_norm_to_nat(double norm);
    static double conv_direct_nat_to_norm(double nat);

    // Text in dB, "-oo" for silence. -14484 out of range, then -14499 when max_len is below 3.
    static int conv_to_str(double norm, char* txt, long max_len);
    // dB, limited at the top; "-oo" anywhere in the text counts when there is no number. -14487.
    static int conv_from_str(char const* txt, double& norm);

    static constexpr double log_base = BASE_L2 * 0.69314718055994530942; // of the curve

private:
    static double conv_fraction_to_norm(double fraction); // fraction of MAX_VAL
};

} // namespace ulk::ace::baplug

#include "ulk/ace/baplug/ParamSharedVol.hpp"
