#include "ulk/ace/baplug/ParamGlobVol.h"

namespace ulk::ace::baplug {

int ParamGlobVol::do_get_prop(Prop& prop) const {
    int const ret = ParamTapeVol::do_get_prop(prop);
    prop.name = std::string("MV\nM vol\nMain vol\nMain volume");
    return ret;
}

} // namespace ulk::ace::baplug
