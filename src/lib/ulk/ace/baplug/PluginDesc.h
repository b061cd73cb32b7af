#pragma once

#include "ulk/kryn/Component.h"
#include "ulk/prout/DescMain.h"
#include "ulk/prout/DescParamList.h"
#include "ulk/prout/DescPinConfList.h"
#include "ulk/prout/DescProperties.h"
#include "ulk/prout/DescUniqueId.h"

namespace ulk::ace::baplug {

// The description document of a built-in plug-in, with the four parts that all of them have:
// properties (not interested in transport events), identifier, parameters, pin configurations.
// Filled in the plug-in's constructor and only read afterwards.
class PluginDesc {
public:
    explicit PluginDesc(char const* plug_id);

    PluginDesc(PluginDesc const&) = delete;
    PluginDesc& operator=(PluginDesc const&) = delete;

    prout::DescParamList& use_param_list() { return _param_list; }
    prout::DescPinConfList& use_pin_conf_list() { return _pin_conf_list; }

    // DESCRIBE. 0, -14499 when the document does not fit, -14500 for an exception; on failure
    // neither cmd.len nor the bytes change. May run beside PROCESS; allocates.
    int describe(kryn::Component::Cmd::Describe& cmd) const {
        return _desc.conv_to_bin(cmd.data, cmd.len);
    }

private:
    prout::DescMain _desc;
    prout::DescProperties _properties;
    prout::DescUniqueId _unique_id;
    prout::DescParamList _param_list;
    prout::DescPinConfList _pin_conf_list;
};

} // namespace ulk::ace::baplug
