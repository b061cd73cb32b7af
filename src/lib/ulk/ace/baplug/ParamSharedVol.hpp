#pragma once

#include "ulk/ace/Err.h"
#include "ulk/sys/NumText.h"
#include "ulk/txt/out/PrintNa.h"
#include "ulk/txt/utf8/utf8.h"

#include <cmath>

namespace ulk::ace::baplug {

template <int MAX_VAL, int BASE_L2>
double ParamSharedVol<MAX_VAL, BASE_L2>::conv_direct_norm_to_nat(double norm) {
    if (!(norm >= 0 && norm <= 1)) {
        return 1;
    }
    return (std::exp(norm * log_base) - 1) / (std::exp(log_base) - 1) * MAX_VAL;
}

template <int MAX_VAL, int BASE_L2>
double ParamSharedVol<MAX_VAL, BASE_L2>::conv_direct_nat_to_norm(double nat) {
    if (!(nat >= 0 && nat <= MAX_VAL)) {
        return 1;
    }
    return static_cast<float>(std::log(nat * (1.0 / MAX_VAL) * (std::exp(log_base) - 1) + 1) /
                              log_base);
}

template <int MAX_VAL, int BASE_L2>
int ParamSharedVol<MAX_VAL, BASE_L2>::conv_norm_to_nat(double norm, double& nat) {
    nat = conv_direct_norm_to_nat(norm);
    return norm >= 0 && norm <= 1 ? Err_OK : Err_OUT_OF_RANGE;
}

template <int MAX_VAL, int BASE_L2>
int ParamSharedVol<MAX_VAL, BASE_L2>::conv_nat_to_norm(double nat, double& norm) {
    norm = conv_direct_nat_to_norm(nat);
    return nat >= 0 && nat <= MAX_VAL ? Err_OK : Err_OUT_OF_RANGE;
}

template <int MAX_VAL, int BASE_L2>
int ParamSharedVol<MAX_VAL, BASE_L2>::conv_to_str(double norm, char* txt, long max_len) {
    double nat = 0;
    int const ret = conv_norm_to_nat(norm, nat);
    if (ret != Err_OK) {
        return ret;
    }
    if (max_len < 3) {
        return Err_NO_ROOM;
    }
    txt::out::PrintNa print(txt, max_len);
    if (nat < 1e-10) {
        print.print("-oo");
    } else {
        print.print("%1fp1+%").arg(20 * std::log10(nat));
    }
    return Err_OK;
}

template <int MAX_VAL, int BASE_L2>
int ParamSharedVol<MAX_VAL, BASE_L2>::conv_from_str(char const* txt, double& norm) {
    constexpr double ln_10_over_20 = 0.11512925464970229;
    double level = 0; // dB
    double fraction = 0;
    if (sys::NumText::conv_str_to_dbl(txt, level) != txt) {
        double const nat = std::exp(level * ln_10_over_20);
        fraction = nat > MAX_VAL ? 1 : nat * (1.0 / MAX_VAL);
    } else {
        long pos = 0;
        if (txt::utf8::strstr_ci(txt, "-oo", pos) != 0) {
            return Err_CANNOT_CONVERT_PARAM_VAL;
        }
    }
    norm = static_cast<float>(std::log(1 + fraction * (std::exp(log_base) - 1)) / log_base);
    return Err_OK;
}

} // namespace ulk::ace::baplug
