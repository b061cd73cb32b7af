#include "ulk/ace/baplug/ParamDryWet.h"

#include "ulk/ace/Err.h"
#include "ulk/sys/NumText.h"
#include "ulk/txt/out/PrintNa.h"

#include <cmath>

namespace ulk::ace::baplug {

namespace {

bool is_in_range(double val) {
    return val >= 0 && val <= 1;
}

} // namespace

double ParamDryWet::st_conv_norm_to_nat_no_check(double norm) {
    double const x = norm - 0.5;
    return x >= 0 ? 0.625 - 0.078125 / (x + 0.125) + 0.5 : -0.625 - 0.078125 / (x - 0.125) + 0.5;
}

int ParamDryWet::st_conv_norm_to_nat(double norm, double& nat) {
    if (!is_in_range(norm)) {
        return Err_OUT_OF_RANGE;
    }
    nat = st_conv_norm_to_nat_no_check(norm);
    return Err_OK;
}

int ParamDryWet::st_conv_nat_to_norm(double nat, double& norm) {
    if (!is_in_range(nat)) {
        return Err_OUT_OF_RANGE;
    }
    double const y = nat - 0.5;
    norm = y < 0 ? 0.078125 / (-0.625 - y) + 0.125 + 0.5 : 0.078125 / (0.625 - y) - 0.125 + 0.5;
    return Err_OK;
}

int ParamDryWet::st_conv_to_str(double norm, char* txt, long max_len) {
    double nat = 0;
    int const ret = st_conv_norm_to_nat(norm, nat);
    if (ret != Err_OK) {
        return ret;
    }
    if (max_len < 3) {
        return Err_NO_ROOM;
    }
    int const dry = static_cast<int>(std::floor(std::abs(nat) * 100 + 0.5));
    txt::out::PrintNa print(txt, max_len);
    print.print("%1m3r% / %2m3r%").arg(100 - dry).arg(dry);
    return Err_OK;
}

int ParamDryWet::st_conv_from_str(char const* txt, double& norm) {
    norm = 0;
    double wet = 0; // percent
    if (sys::NumText::conv_str_to_dbl(txt, wet) == txt) {
        return Err_CANNOT_CONVERT_PARAM_VAL;
    }
    norm = (100 - wet) / 100;
    return st_conv_nat_to_norm(norm, norm);
}

int ParamDryWet::do_get_prop(Prop& prop) const {
    prop = Prop();
    prop.name = "Wet/Dry Mix";
    prop.unit = '%';
    prop.val_min = do_get_val_min();
    prop.val_max = do_get_val_max();
    return Err_OK;
}

int ParamDryWet::do_conv_norm_to_nat(double norm, double& nat) const {
    return st_conv_norm_to_nat(norm, nat);
}

int ParamDryWet::do_conv_nat_to_norm(double nat, double& norm) const {
    return st_conv_nat_to_norm(nat, norm);
}

int ParamDryWet::do_conv_to_str(double val, char* txt, long max_len) const {
    return st_conv_to_str(val, txt, max_len);
}

int ParamDryWet::do_conv_from_str(char const* txt, double& val) const {
    return st_conv_from_str(txt, val);
}

double ParamDryWet::do_get_val_min() const {
    return 0;
}

double ParamDryWet::do_get_val_max() const {
    return 1;
}

} // namespace ulk::ace::baplug
