#include "ulk/ace/baplug/ParamSplTimeStretch.h"

#include "ulk/ace/Err.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/sys/NumText.h"
#include "ulk/txt/out/PrintNa.h"

#include <algorithm>
#include <cmath>

namespace ulk::ace::baplug {

namespace {

bool is_norm_in_range(double norm) {
    return norm >= 0 && norm <= 1;
}

bool is_nat_in_range(double nat) {
    return nat >= ParamSplTimeStretch::_min_val && nat <= ParamSplTimeStretch::_max_val;
}

} // namespace

double ParamSplTimeStretch::conv_direct_param_norm_to_nat(double norm) {
    return is_norm_in_range(norm) ? std::exp(norm * _log_base) * _min_val : 1;
}

double ParamSplTimeStretch::conv_direct_param_nat_to_norm(double nat) {
    return is_nat_in_range(nat) ? static_cast<float>(std::log(nat / _min_val) / _log_base) : 1;
}

int ParamSplTimeStretch::do_get_prop(Prop& prop) const {
    using kryn::PluginDsp;
    prop = Prop();
    prop.name = std::string("TSR\nTStr Ratio\nTime stretch ratio");
    prop.unit = std::string("%");
    prop.flags = PluginDsp::ParamFlag_HIDDEN | PluginDsp::ParamFlag_UNUSED;
    prop.dir = PluginDsp::ParamDir_IN;
    prop.validity = PluginDsp::ParamValidityFlag_NOTE_ON;
    prop.domain_time = PluginDsp::ParamRange_DISCRETE;
    prop.public_range = PluginDsp::ParamPublicVal_NATURAL;
    prop.val_min = _min_val;
    prop.val_max = _max_val;
    return Err_OK;
}

int ParamSplTimeStretch::do_conv_norm_to_nat(double norm, double& nat) const {
    nat = conv_direct_param_norm_to_nat(norm);
    return is_norm_in_range(norm) ? Err_OK : Err_OUT_OF_RANGE;
}

int ParamSplTimeStretch::do_conv_nat_to_norm(double nat, double& norm) const {
    if (!is_nat_in_range(nat)) {
        norm = 0.5;
        return Err_OUT_OF_RANGE;
    }
    norm = conv_direct_param_nat_to_norm(nat);
    return Err_OK;
}

int ParamSplTimeStretch::do_conv_to_str(double val, char* txt, long max_len) const {
    if (!is_nat_in_range(val)) {
        return Err_OUT_OF_RANGE;
    }
    if (max_len < 3) {
        return Err_NO_ROOM;
    }
    txt::out::PrintNa(txt, max_len).print("%1m5rp1%").arg(val * 100);
    return Err_OK;
}

int ParamSplTimeStretch::do_conv_from_str(char const* txt, double& val) const {
    double percent = 0;
    if (sys::NumText::conv_str_to_dbl(txt, percent) == txt) {
        return Err_CANNOT_CONVERT_PARAM_VAL;
    }
    val = std::clamp(percent / 100, _min_val, _max_val);
    return Err_OK;
}

double ParamSplTimeStretch::do_get_val_min() const {
    return _min_val;
}

double ParamSplTimeStretch::do_get_val_max() const {
    return _max_val;
}

} // namespace ulk::ace::baplug
