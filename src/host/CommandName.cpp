#include "host/CommandName.h"

#include "ulk/kryn/Component.h"
#include "ulk/kryn/Plugin.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/kryn/PluginFactory.h"

namespace ulk::host {

std::string CommandName::find(int cmd) {
    for (auto const* list : {kryn::Component::cmd_txt_list, kryn::PluginFactory::cmd_txt_list,
                             kryn::Plugin::cmd_txt_list, kryn::PluginDsp::cmd_txt_list}) {
        for (; list->txt != nullptr; ++list) {
            if (list->code == cmd) {
                return list->txt;
            }
        }
    }
    // The table has no row for it.
    return cmd == kryn::PluginDsp::CmdPlug::GET_PARAM_VAL ? "GET_PARAM_VAL"
                                                          : "command " + std::to_string(cmd);
}

} // namespace ulk::host
