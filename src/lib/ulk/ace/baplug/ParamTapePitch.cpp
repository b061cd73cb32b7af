#include "ulk/ace/baplug/ParamTapePitch.h"

#include "ulk/kryn/PluginDsp.h"
#include "ulk/sys/NumText.h"
#include "ulk/txt/out/PrintNa.h"

#include <algorithm>

namespace ulk::ace::baplug {

int ParamTapePitch::do_get_prop(Prop& prop) const {
    prop = Prop();
    prop.unit = std::string("semi-tones");
    prop.type_use = kryn::PluginDsp::ParamPredef_TRANSPOSE;
    prop.type_data = kryn::PluginDsp::ParamType_PITCH;
    prop.domain_time = kryn::PluginDsp::ParamRange_DISCRETE;
    prop.public_range = kryn::PluginDsp::ParamPublicVal_NATURAL;
    prop.val_min = get_val_min();
    prop.val_max = get_val_max();
    return Err_OK;
}

int ParamTapePitch::do_conv_to_str(double val, char* txt, long max_len) const {
    int const ret = check_to_str(val, max_len, 3);
    if (ret == Err_OK) {
        txt::out::PrintNa(txt, max_len).print("%1p1+%").arg(val);
    }
    return ret;
}

int ParamTapePitch::do_conv_from_str(char const* txt, double& val) const {
    double pitch = 0;
    if (sys::NumText::conv_str_to_dbl(txt, pitch) == txt) {
        return Err_CANNOT_CONVERT_PARAM_VAL;
    }
    val = std::clamp(pitch, get_val_min(), get_val_max());
    return Err_OK;
}

double ParamTapePitch::do_get_val_min() const {
    return -24;
}

double ParamTapePitch::do_get_val_max() const {
    return 24;
}

} // namespace ulk::ace::baplug
