#include "ulk/ace/baplug/Factory.h"

#include "ulk/ace/Constants.h"
#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/Bypass.h"
#include "ulk/ace/baplug/DryWet.h"
#include "ulk/ace/baplug/InOut.h"
#include "ulk/ace/baplug/PluginType.h"
#include "ulk/ace/baplug/Tape.h"
#include "ulk/kryn/Component.h"
#include "ulk/pibase/Tools.h"
#include "ulk/udbg/log.h"

#include <algorithm>
#include <string_view>

namespace ulk::ace::baplug {

namespace {

// By PluginType.
constexpr char const* plug_id_arr[PluginType_NBR_ELT] = {
    Constants::PLUGIN_ID_AUDIO_INPUT, Constants::PLUGIN_ID_AUDIO_OUTPUT, Constants::PLUGIN_ID_TAPE,
    Constants::PLUGIN_ID_BYPASS, Constants::PLUGIN_ID_DRYWET};

} // namespace

Factory::Factory(pibase::BidirComPoint& com)
    : _com(com) {
    _com.plugin_data = this;
    _com.plugin_execute = &execute_command_static;

    _desc.add_desc_part(_desc_properties);
    _desc.add_desc_part(_desc_plugin_list);
    for (char const* plug_id : plug_id_arr) {
        _desc_plugin_list.add_plugin(kryn::PluginFactory::PluginType_DSP, plug_id);
    }
}

int Factory::execute_command_static(pibase::BidirComPoint* com, int cmd, void* data) {
    return pibase::Tools::execute_guarded<Factory>(com, cmd, data);
}

int Factory::execute_command(int cmd, void* data) {
    switch (cmd) {
    case kryn::Component::Cmd::DESTROY:
        return destroy();
    case kryn::Component::Cmd::DESCRIBE: {
        auto& describe = *static_cast<kryn::Component::Cmd::Describe*>(data);
        return _desc.conv_to_bin(describe.data, describe.len);
    }
    case kryn::PluginFactory::CmdFact::INSTANTIATE:
        return instantiate(*static_cast<Instantiate*>(data));
    default:
        ULK_LOG(WARNING,
                "execute_command(): Unknown or not implemented command 0x%1X% (factory 0x%2X%)",
                cmd, static_cast<void const*>(&_com));
        return Err_NOT_IMPLEMENTED;
    }
}

int Factory::destroy() {
    delete this;
    return Err_OK;
}

int Factory::instantiate(Instantiate& cmd) {
    if (cmd.com_point == nullptr || cmd.plug_id == nullptr) {
        ULK_LOG(ERROR, "instantiate(): Invalid argument.");
        return Err_INVALID_ARGUMENT;
    }
    std::string_view const plug_id(cmd.plug_id);
    auto const pos = std::find(std::begin(plug_id_arr), std::end(plug_id_arr), plug_id);
    if (pos == std::end(plug_id_arr)) {
        ULK_LOG(ERROR, "instantiate(): Unknown plug-in identifier %1%.", cmd.plug_id);
        return Err_NOT_FOUND;
    }
    ULK_LOG(INFO, "instantiate(): Creating plugin %1%...", cmd.plug_id);
    int ret = Err_OK;
    try {
        pibase::BidirComPoint& com = *cmd.com_point;
        auto const type = static_cast<PluginType>(pos - std::begin(plug_id_arr));
        switch (type) { // the host owns the instance, until DESTROY
        case PluginType_AUDIO_INPUT:
        case PluginType_AUDIO_OUTPUT:
            new InOut(com, type);
            break;
        case PluginType_TAPE:
            new Tape(com);
            break;
        case PluginType_BYPASS:
            new Bypass(com);
            break;
        case PluginType_DRYWET:
            new DryWet(com);
            break;
        default:
            ret = Err_FAILURE;
            break;
        }
        ULK_LOG(INFO, "instantiate(): Success (0x%1X%).", static_cast<void const*>(&com));
        if (ret != Err_OK) {
            ULK_LOG(ERROR, "instantiate(): missing plug-in type.");
        }
    } catch (...) {
        ULK_LOG(ERROR, "instantiate(): Failure.");
        ret = Err_FAILURE;
    }
    return ret;
}

} // namespace ulk::ace::baplug
