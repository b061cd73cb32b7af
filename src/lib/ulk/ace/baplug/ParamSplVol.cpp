#include "ulk/ace/baplug/ParamSplVol.h"

#include "ulk/kryn/PluginDsp.h"

namespace ulk::ace::baplug {

int ParamSplVol::do_get_prop(Prop& prop) const {
    int const ret = ParamTapeVol::do_get_prop(prop);
    prop.name = std::string("SV\nSpl vol\nSample vol\nSample volume");
    prop.dir = kryn::PluginDsp::ParamDir_IN;
    return ret;
}

} // namespace ulk::ace::baplug
