#include "ulk/ace/baplug/ParamGlobPitchShift.h"

#include "ulk/kryn/PluginDsp.h"

namespace ulk::ace::baplug {

int ParamGlobPitchShift::do_get_prop(Prop& prop) const {
    int const ret = ParamTapePitch::do_get_prop(prop);
    prop.name = std::string("Pitch shift");
    prop.flags = kryn::PluginDsp::ParamFlag_HIDDEN | kryn::PluginDsp::ParamFlag_UNUSED;
    return ret;
}

} // namespace ulk::ace::baplug
