#include "ulk/ace/baplug/Bypass.h"

#include "ulk/ace/Constants.h"
#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/PinConfTools.h"
#include "ulk/dsp/BasicMixingAlign.h"
#include "ulk/kryn/Component.h"
#include "ulk/pibase/Tools.h"
#include "ulk/udbg/log.h"

#include <algorithm>

namespace ulk::ace::baplug {

Bypass::Bypass(pibase::BidirComPoint& com)
    : _com(com)
    , _chn_arr(1, 2)
    , _desc(Constants::PLUGIN_ID_BYPASS) {
    dsp::BasicMixingAlign::setup();
    _desc.use_pin_conf_list().add_conf(0x1, 0x1, 0, 0, "Mono");
    _desc.use_pin_conf_list().add_conf(0x2, 0x2, 0, 0, "Stereo");
    _com.plugin_data = this;
    _com.plugin_execute = &execute_command_static;
}

int Bypass::execute_command_static(pibase::BidirComPoint* com, int cmd, void* data) {
    return pibase::Tools::execute_guarded<Bypass>(com, cmd, data);
}

int Bypass::execute_command(int cmd, void* data) {
    switch (cmd) {
    case kryn::Component::Cmd::DESTROY:
        return destroy();
    case kryn::Component::Cmd::DESCRIBE:
        return _desc.describe(*static_cast<kryn::Component::Cmd::Describe*>(data));
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

int Bypass::destroy() {
    delete this;
    return Err_OK;
}

int Bypass::get_pin_conf(CmdPlug::GetPinConf& cmd) const {
    PinConfTools::clear_data_pins(cmd.conf);
    auto& port_arr = cmd.conf.audio.port_arr;
    long const nbr_pins = static_cast<long>(_chn_arr.size());
    for (auto& port : port_arr) {
        port.nbr_pins = nbr_pins;
    }
    for (auto const& port : port_arr) {
        if (nbr_pins > port.nbr_pins_max) {
            return Err_NO_ROOM;
        }
    }
    for (auto& port : port_arr) {
        std::copy(_chn_arr.begin(), _chn_arr.end(), port.chn_arr);
    }
    return Err_OK;
}

int Bypass::negotiate_pin_conf(CmdPlug::NegotiatePinConf& cmd) const {
    return PinConfTools::negotiate(cmd, &propose_audio_config, &check_audio_config);
}

int Bypass::set_pin_conf(CmdPlug::SetPinConf const& cmd) {
    AudioConf const& conf = cmd.conf.audio;
    if (!check_audio_config(conf)) {
        return Err_INVALID_PIN_CONF;
    }
    try {
        auto const& port = conf.port_arr[kryn::PinDir_IN];
        _chn_arr.resize(static_cast<std::size_t>(port.nbr_pins));
        std::transform(port.chn_arr, port.chn_arr + port.nbr_pins, _chn_arr.begin(),
                       [](long nbr_chn) { return static_cast<int>(nbr_chn); });
    } catch (...) {
        ULK_LOG(ERROR, "set_pin_conf(): exception.");
        return Err_FAILURE;
    }
    return Err_OK;
}

int Bypass::process(CmdPlug::Process& cmd) const {
    using kryn::PluginDsp;
    for (std::size_t pin = 0; pin < _chn_arr.size(); ++pin) {
        PluginDsp::PinData& out = cmd.port_out.pin_arr[pin];
        PluginDsp::PinData const& in = cmd.port_in.pin_arr[pin];
        if (out.state != PluginDsp::State_SIGNAL) {
            continue;
        }
        if (in.state != PluginDsp::State_SIGNAL) {
            out.state = PluginDsp::State_DIRTY;
            continue;
        }
        for (int chn = 0; chn < _chn_arr[pin]; ++chn) {
            dsp::BasicMixingAlign::copy_1_1(out.chn_arr[chn], in.chn_arr[chn], cmd.nbr_spl);
        }
    }
    return Err_OK;
}

int Bypass::propose_audio_config(AudioConf& conf) {
    for (auto const& port : conf.port_arr) {
        if (port.nbr_pins_max < 1) {
            return Err_NO_ROOM;
        }
    }
    for (auto& port : conf.port_arr) {
        port.nbr_pins = 1;
        port.chn_arr[0] = 2;
    }
    return Err_OK;
}

bool Bypass::check_audio_config(AudioConf const& conf) {
    return PinConfTools::has_same_sides(conf);
}

} // namespace ulk::ace::baplug
