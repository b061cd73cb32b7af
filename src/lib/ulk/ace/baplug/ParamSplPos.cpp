#include "ulk/ace/baplug/ParamSplPos.h"

#include "ulk/kryn/PluginDsp.h"
#include "ulk/sys/NumText.h"
#include "ulk/txt/out/PrintNa.h"

namespace ulk::ace::baplug {

int ParamSplPos::do_get_prop(Prop& prop) const {
    using kryn::PluginDsp;
    prop = Prop();
    prop.name = std::string("Sample playback position");
    prop.unit = std::string("s");
    prop.flags = PluginDsp::ParamFlag_HIDDEN;
    prop.dir = PluginDsp::ParamDir_IN;
    prop.type_data = PluginDsp::ParamType_TIME_ABSOLUTE;
    prop.domain_time = PluginDsp::ParamRange_DISCRETE;
    prop.public_range = PluginDsp::ParamPublicVal_NATURAL;
    prop.val_min = get_val_min();
    prop.val_max = get_val_max();
    return Err_OK;
}

int ParamSplPos::do_conv_to_str(double val, char* txt, long max_len) const {
    int const ret = check_to_str(val, max_len, 5);
    if (ret == Err_OK) {
        txt::out::PrintNa(txt, max_len).print("%1m18r%").arg(val);
    }
    return ret;
}

int ParamSplPos::do_conv_from_str(char const* txt, double& val) const {
    return sys::NumText::conv_str_to_dbl(txt, val) != txt ? Err_OK : Err_CANNOT_CONVERT_PARAM_VAL;
}

double ParamSplPos::do_get_val_min() const {
    return 0;
}

double ParamSplPos::do_get_val_max() const {
    return 65536;
}

} // namespace ulk::ace::baplug
