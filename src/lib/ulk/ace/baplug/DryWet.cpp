#include "ulk/ace/baplug/DryWet.h"

#include "ulk/ace/Constants.h"
#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/ParamConvTools.h"
#include "ulk/ace/baplug/ParamDryWet.h"
#include "ulk/ace/baplug/ParamGain.h"
#include "ulk/ace/baplug/PinConfTools.h"
#include "ulk/dsp/BasicMixing.h"
#include "ulk/kryn/Component.h"
#include "ulk/kryn/Plugin.h"
#include "ulk/pibase/Tools.h"
#include "ulk/prout/ParamTplEnum.h"
#include "ulk/udbg/log.h"

namespace ulk::ace::baplug {

DryWet::DryWet(pibase::BidirComPoint& com)
    : _com(com)
    , _pin_state_arr(1, PinState{2, false})
    , _desc(Constants::PLUGIN_ID_DRYWET)
    , _proc_loop(*this) {
    dsp::BasicMixing::setup();

    _desc.use_pin_conf_list().add_conf(0x11, 0x1, 0, 0, "Mono");
    _desc.use_pin_conf_list().add_conf(0x22, 0x2, 0, 0, "Stereo");

    prout::ParamAdder adder;
    adder.set_desc_list(_param_desc_list);
    init_param_bypass(adder);
    init_param_drywet(adder);
    init_param_gain(adder);
    _param_desc_list.copy_to_desc(_desc.use_param_list(), kryn::ParamScope_GLOBAL);

    for (ParamValMgrSmooth* param : _param_arr) {
        param->set_smooth_time(0.005);
    }
    _com.plugin_data = this;
    _com.plugin_execute = &execute_command_static;
}

void DryWet::init_param_bypass(prout::ParamAdder& adder) {
    adder.add_param(
        mem::SharedPtr<prout::ParamTplEnum>::make("Off\nOn", "Byp\nBypass", "", 0, "%1%"),
        Param_BYPASS, 0);
}

void DryWet::init_param_drywet(prout::ParamAdder& adder) {
    adder.add_param(mem::SharedPtr<ParamDryWet>::make(), Param_DRYWET, 0);
}

void DryWet::init_param_gain(prout::ParamAdder& adder) {
    adder.add_param(mem::SharedPtr<ParamGain>::make(), Param_GAIN,
                    ParamGain::get_direct_default_norm_val());
}

int DryWet::execute_command_static(pibase::BidirComPoint* com, int cmd, void* data) {
    return pibase::Tools::execute_guarded<DryWet>(com, cmd, data);
}

int DryWet::execute_command(int cmd, void* data) {
    switch (cmd) {
    case kryn::Component::Cmd::DESCRIBE:
        return _desc.describe(*static_cast<kryn::Component::Cmd::Describe*>(data));
    case kryn::Component::Cmd::DESTROY:
        return destroy();
    case kryn::Plugin::CmdPlug::INIT:
        return init();
    case CmdPlug::SET_SAMPLE_FREQ:
        return set_sample_freq(*static_cast<CmdPlug::SetSampleFreq*>(data));
    case CmdPlug::GET_PIN_CONF:
        return get_pin_conf(*static_cast<CmdPlug::GetPinConf*>(data));
    case CmdPlug::NEGOTIATE_PIN_CONF:
        return negotiate_pin_conf(*static_cast<CmdPlug::NegotiatePinConf*>(data));
    case CmdPlug::SET_PIN_CONF:
        return set_pin_conf(*static_cast<CmdPlug::SetPinConf*>(data));
    case CmdPlug::PROCESS:
        return process(*static_cast<CmdPlug::Process*>(data));
    case CmdPlug::CLEAR_BUFFERS:
        return clear_buffers();
    case CmdPlug::GET_PARAM_VAL:
        return get_param_val(*static_cast<CmdPlug::GetParamVal*>(data));
    default:
        return conv_param(cmd, data);
    }
}

int DryWet::destroy() {
    delete this;
    return Err_OK;
}

int DryWet::init() {
    _param_drywet.set_val(0);
    _param_bypass.set_val(0);
    _param_gain.set_val(ParamGain::get_direct_default_norm_val());
    return Err_OK;
}

int DryWet::set_sample_freq(CmdPlug::SetSampleFreq const& cmd) {
    for (ParamValMgrSmooth* param : _param_arr) {
        param->set_sample_freq(cmd.sample_freq);
    }
    return Err_OK;
}

int DryWet::get_pin_conf(CmdPlug::GetPinConf& cmd) const {
    PinConfTools::clear_data_pins(cmd.conf);
    auto& in = cmd.conf.audio.port_arr[kryn::PinDir_IN];
    auto& out = cmd.conf.audio.port_arr[kryn::PinDir_OUT];
    out.nbr_pins = static_cast<long>(_pin_state_arr.size());
    in.nbr_pins = out.nbr_pins * 2;
    if (in.nbr_pins > in.nbr_pins_max || out.nbr_pins > out.nbr_pins_max) {
        return Err_NO_ROOM;
    }
    for (std::size_t pin = 0; pin < _pin_state_arr.size(); ++pin) {
        long const nbr_chn = _pin_state_arr[pin].nbr_chn;
        in.chn_arr[pin * 2] = nbr_chn;
        in.chn_arr[pin * 2 + 1] = nbr_chn;
        out.chn_arr[pin] = nbr_chn;
    }
    return Err_OK;
}

int DryWet::negotiate_pin_conf(CmdPlug::NegotiatePinConf& cmd) const {
    return PinConfTools::negotiate(cmd, &propose_audio_config, &check_audio_config);
}

int DryWet::set_pin_conf(CmdPlug::SetPinConf const& cmd) {
    AudioConf const& conf = cmd.conf.audio;
    if (!check_audio_config(conf)) {
        return Err_INVALID_PIN_CONF;
    }
    try {
        auto const& out = conf.port_arr[kryn::PinDir_OUT];
        _pin_state_arr.resize(static_cast<std::size_t>(out.nbr_pins));
        for (std::size_t pin = 0; pin < _pin_state_arr.size(); ++pin) {
            _pin_state_arr[pin].nbr_chn = static_cast<int>(out.chn_arr[pin]);
        }
    } catch (...) {
        ULK_LOG(ERROR, "set_pin_conf(): exception.");
        return Err_FAILURE;
    }
    return Err_OK;
}

int DryWet::clear_buffers() {
    for (ParamValMgrSmooth* param : _param_arr) {
        param->clear_buffers();
    }
    return Err_OK;
}

int DryWet::get_param_val(CmdPlug::GetParamVal& cmd) const {
    int const index = cmd.location.index;
    if (cmd.location.scope != kryn::ParamScope_GLOBAL || index < 0 || index >= Param_NBR_ELT) {
        return Err_INVALID_PARAM_LOCATION;
    }
    cmd.val = _param_arr[index]->get_val_end();
    return Err_OK;
}

int DryWet::conv_param(int cmd, void* data) const {
    return ParamConvTools::execute(
        cmd, data, [this](kryn::ParamLocation const& loc) -> prout::ParamDescList const* {
            return loc.scope == kryn::ParamScope_GLOBAL ? &_param_desc_list : nullptr;
        });
}

int DryWet::propose_audio_config(AudioConf& conf) {
    auto& in = conf.port_arr[kryn::PinDir_IN];
    auto& out = conf.port_arr[kryn::PinDir_OUT];
    if (in.nbr_pins_max < 2 || out.nbr_pins_max < 1) {
        return Err_NO_ROOM;
    }
    in.nbr_pins = 2;
    in.chn_arr[0] = 2;
    in.chn_arr[1] = 2;
    out.nbr_pins = 1;
    out.chn_arr[0] = 2;
    return Err_OK;
}

bool DryWet::check_audio_config(AudioConf const& conf) {
    auto const& in = conf.port_arr[kryn::PinDir_IN];
    auto const& out = conf.port_arr[kryn::PinDir_OUT];
    if (in.nbr_pins < 0 || out.nbr_pins < 0 || in.nbr_pins != out.nbr_pins * 2) {
        return false;
    }
    for (long pin = 0; pin < in.nbr_pins; ++pin) {
        if (in.chn_arr[pin] != out.chn_arr[pin / 2]) {
            return false;
        }
    }
    return true;
}

} // namespace ulk::ace::baplug
