#include "ulk/ace/baplug/ParamSplOut.h"

#include "ulk/kryn/PluginDsp.h"
#include "ulk/txt/out/PrintNa.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace ulk::ace::baplug {

int ParamSplOut::do_get_prop(Prop& prop) const {
    using kryn::PluginDsp;
    prop = Prop();
    prop.name = std::string("Sample output pin");
    prop.dir = PluginDsp::ParamDir_IN;
    prop.validity = PluginDsp::ParamValidityFlag_NOTE_ON;
    prop.domain_time = PluginDsp::ParamRange_DISCRETE;
    prop.domain_val = PluginDsp::ParamRange_DISCRETE;
    prop.public_range = PluginDsp::ParamPublicVal_NATURAL;
    prop.val_min = get_val_min();
    prop.val_max = get_val_max();
    return Err_OK;
}

int ParamSplOut::do_conv_to_str(double val, char* txt, long max_len) const {
    int const ret = check_to_str(val, max_len, 2);
    if (ret == Err_OK) {
        txt::out::PrintNa(txt, max_len)
            .print("%1%")
            .arg(static_cast<int>(std::floor(val + 0.5)) + 1);
    }
    return ret;
}

int ParamSplOut::do_conv_from_str(char const* txt, double& val) const {
    char* end = nullptr;
    long const number = std::strtol(txt, &end, 10);
    if (end == txt) {
        return Err_CANNOT_CONVERT_PARAM_VAL;
    }
    val = std::clamp(static_cast<double>(number) - 1, get_val_min(), get_val_max());
    return Err_OK;
}

double ParamSplOut::do_get_val_min() const {
    return 0;
}

double ParamSplOut::do_get_val_max() const {
    return 15;
}

} // namespace ulk::ace::baplug
