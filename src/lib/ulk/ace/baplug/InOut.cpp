#include "ulk/ace/baplug/InOut.h"

#include "ulk/ace/Constants.h"
#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/PinConfTools.h"
#include "ulk/kryn/Component.h"
#include "ulk/pibase/Tools.h"

#include <algorithm>

namespace ulk::ace::baplug {

InOut::InOut(pibase::BidirComPoint& com, PluginType type)
    : _type(type)
    , _com(com)
    , _desc(type == PluginType_AUDIO_INPUT ? Constants::PLUGIN_ID_AUDIO_INPUT
                                           : Constants::PLUGIN_ID_AUDIO_OUTPUT) {
    add_pin_conf(0x2, "1 stereo");
    add_pin_conf(0x22, "2 stereo");
    add_pin_conf(0x222, "3 stereo");
    add_pin_conf(0x2222, "4 stereo");
    add_pin_conf(0x112, "1 stereo, 2 mono");
    add_pin_conf(0x11112, "1 stereo, 4 mono");
    add_pin_conf(0x1111112, "1 stereo, 6 mono");
    add_pin_conf(0x11, "2 mono");
    add_pin_conf(0x1111, "4 mono");
    add_pin_conf(0x111111, "6 mono");
    add_pin_conf(0x11111111, "8 mono");
    add_pin_conf(0x4, "1 quad");
    add_pin_conf(0x6, "1 5.1");
    add_pin_conf(0x8, "1 7.1");

    long stereo = 2;
    copy_audio_config_to_plugin({1, 1, &stereo});
    _com.plugin_data = this;
    _com.plugin_execute = &execute_command_static;
}

kryn::PinDir InOut::get_main_pin_dir() const {
    return _type == PluginType_AUDIO_INPUT ? kryn::PinDir_OUT : kryn::PinDir_IN;
}

void InOut::add_pin_conf(unsigned long long chn_mask, char const* name) {
    bool const in_flag = get_main_pin_dir() == kryn::PinDir_IN;
    _desc.use_pin_conf_list().add_conf(in_flag ? chn_mask : 0, in_flag ? 0 : chn_mask, 0, 0, name);
}

int InOut::execute_command_static(pibase::BidirComPoint* com, int cmd, void* data) {
    return pibase::Tools::execute_guarded<InOut>(com, cmd, data);
}

int InOut::execute_command(int cmd, void* data) {
    switch (cmd) {
    case kryn::Component::Cmd::DESCRIBE:
        return _desc.describe(*static_cast<kryn::Component::Cmd::Describe*>(data));
    case kryn::Component::Cmd::DESTROY:
        return destroy();
    case CmdPlug::GET_PIN_CONF:
        return get_pin_conf(*static_cast<CmdPlug::GetPinConf*>(data));
    case CmdPlug::NEGOTIATE_PIN_CONF:
        return negotiate_pin_conf(*static_cast<CmdPlug::NegotiatePinConf*>(data));
    case CmdPlug::SET_PIN_CONF:
        return set_pin_conf(*static_cast<CmdPlug::SetPinConf*>(data));
    case CmdPlug::PROCESS:
        return process(*static_cast<CmdPlug::Process*>(data));
    default:
        return Err_NOT_IMPLEMENTED;
    }
}

int InOut::destroy() {
    delete this;
    return Err_OK;
}

int InOut::get_pin_conf(CmdPlug::GetPinConf& cmd) const {
    PinConfTools::clear_data_pins(cmd.conf);
    auto& port_arr = cmd.conf.audio.port_arr;
    kryn::PinDir const dir = get_main_pin_dir();
    port_arr[dir == kryn::PinDir_IN ? kryn::PinDir_OUT : kryn::PinDir_IN].nbr_pins = 0;
    return copy_conf_check(port_arr[dir], _conf);
}

// The order is its own: the proposal comes first, and a count that stays negative on the side
// without pins is refused.
int InOut::negotiate_pin_conf(CmdPlug::NegotiatePinConf& cmd) const {
    complete_conf(cmd.conf);
    return PinConfTools::negotiate(
        cmd, [](AudioConf&) { return Err_OK; },
        [this](AudioConf const& conf) { return check_audio_config(conf); });
}

int InOut::set_pin_conf(CmdPlug::SetPinConf const& cmd) {
    AudioConf const& conf = cmd.conf.audio;
    if (!check_audio_config(conf)) {
        return Err_INVALID_PIN_CONF;
    }
    try {
        copy_audio_config_to_plugin(conf.port_arr[get_main_pin_dir()]);
    } catch (...) {
        return Err_FAILURE;
    }
    return Err_OK;
}

int InOut::process(CmdPlug::Process& cmd) const {
    if (_type == PluginType_AUDIO_INPUT) {
        for (long pin = 0; pin < _conf.nbr_pins; ++pin) {
            cmd.port_out.pin_arr[pin].state = kryn::PluginDsp::State_SIGNAL;
        }
    }
    return Err_OK;
}

void InOut::complete_conf(FullPinConf& conf) const {
    auto& port_arr = conf.audio.port_arr;
    if (port_arr[kryn::PinDir_IN].nbr_pins < 0 && port_arr[kryn::PinDir_OUT].nbr_pins < 0) {
        AudioConfPort& port = port_arr[get_main_pin_dir()];
        port.nbr_pins = 1;
        port.chn_arr[0] = 2;
    }
}

bool InOut::check_audio_config(AudioConf const& conf) const {
    long const nbr_in = conf.port_arr[kryn::PinDir_IN].nbr_pins;
    long const nbr_out = conf.port_arr[kryn::PinDir_OUT].nbr_pins;
    if (nbr_in < 0 || nbr_out < 0 || (nbr_in == 0 && nbr_out == 0)) {
        return false;
    }
    return (get_main_pin_dir() == kryn::PinDir_IN ? nbr_out : nbr_in) <= 0;
}

void InOut::copy_audio_config_to_plugin(AudioConfPort const& port) {
    _chn_arr.resize(static_cast<std::size_t>(port.nbr_pins));
    _conf = {port.nbr_pins, port.nbr_pins, _chn_arr.data()};
    copy_conf(_conf, port);
}

int InOut::copy_conf_check(AudioConfPort& dst, AudioConfPort const& src) {
    if (src.nbr_pins > dst.nbr_pins_max) {
        return Err_NO_ROOM;
    }
    copy_conf(dst, src);
    return Err_OK;
}

void InOut::copy_conf(AudioConfPort& dst, AudioConfPort const& src) {
    dst.nbr_pins = src.nbr_pins;
    std::copy(src.chn_arr, src.chn_arr + src.nbr_pins, dst.chn_arr);
}

} // namespace ulk::ace::baplug
