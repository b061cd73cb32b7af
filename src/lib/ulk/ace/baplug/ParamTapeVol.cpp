#include "ulk/ace/baplug/ParamTapeVol.h"

#include "ulk/ace/Err.h"
#include "ulk/kryn/PluginDsp.h"

namespace ulk::ace::baplug {

int ParamTapeVol::do_get_prop(Prop& prop) const {
    prop = Prop();
    prop.unit = std::string("dB");
    prop.type_use = kryn::PluginDsp::ParamPredef_VOLUME;
    prop.type_data = kryn::PluginDsp::ParamType_LIN_VOLUME;
    prop.val_min = get_direct_val_min();
    prop.val_max = get_direct_val_max();
    return Err_OK;
}

int ParamTapeVol::do_conv_norm_to_nat(double norm, double& nat) const {
    return Law::conv_norm_to_nat(norm, nat);
}

int ParamTapeVol::do_conv_nat_to_norm(double nat, double& norm) const {
    return Law::conv_nat_to_norm(nat, norm);
}

int ParamTapeVol::do_conv_to_str(double val, char* txt, long max_len) const {
    return Law::conv_to_str(val, txt, max_len);
}

int ParamTapeVol::do_conv_from_str(char const* txt, double& val) const {
    return Law::conv_from_str(txt, val);
}

double ParamTapeVol::do_get_val_min() const {
    return get_direct_val_min();
}

double ParamTapeVol::do_get_val_max() const {
    return get_direct_val_max();
}

} // namespace ulk::ace::baplug
