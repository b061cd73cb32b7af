#include "ulk/ace/baplug/ParamSplPitch.h"

#include "ulk/kryn/PluginDsp.h"

namespace ulk::ace::baplug {

int ParamSplPitch::do_get_prop(Prop& prop) const {
    int const ret = ParamTapePitch::do_get_prop(prop);
    prop.name = std::string("SPtch\nSpl pitch\nSample pitch");
    prop.dir = kryn::PluginDsp::ParamDir_IN;
    return ret;
}

} // namespace ulk::ace::baplug
