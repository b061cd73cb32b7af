#include "ulk/ace/baplug/PluginDesc.h"

#include "ulk/kryn/PluginDsp.h"

namespace ulk::ace::baplug {

PluginDesc::PluginDesc(char const* plug_id) {
    _desc.add_desc_part(_properties);
    _desc.add_desc_part(_unique_id);
    _desc.add_desc_part(_param_list);
    _desc.add_desc_part(_pin_conf_list);
    _unique_id.set_id(plug_id);
    _properties.set_property(kryn::PluginDsp::CmdPlug::prop_ignore_transp_evt, "1");
}

} // namespace ulk::ace::baplug
