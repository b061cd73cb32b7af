#pragma once

#include "ulk/ace/Err.h"
#include "ulk/kryn/PluginDsp.h"

namespace ulk::ace::baplug {

// The steps that all plug-ins share in the commands on pin configurations.
class PinConfTools {
public:
    using AudioConf = kryn::PluginDsp::AudioConf;
    using FullPinConf = kryn::PluginDsp::FullPinConf;
    using NegotiatePinConf = kryn::PluginDsp::CmdPlug::NegotiatePinConf;

    static void clear_data_pins(FullPinConf& conf);
    // Both ports have the same number of pins, 0 or more, with the same channel counts.
    static bool has_same_sides(AudioConf const& conf);

    // NEGOTIATE_PIN_CONF. propose: int (AudioConf&), writes the plug-in's wish, called when both
    // pin counts are negative. check: bool (AudioConf const&), the plug-in's rule. Returns what
    // propose returned, otherwise 0; a refusal is told in cmd.result alone.
    template <class Propose, class Check>
    static int negotiate(NegotiatePinConf& cmd, Propose propose, Check check);
};

template <class Propose, class Check>
int PinConfTools::negotiate(NegotiatePinConf& cmd, Propose propose, Check check) {
    FullPinConf& conf = cmd.conf;
    cmd.result = conf.nbr_pins_data_in != 0 || conf.nbr_pins_data_out != 0;
    clear_data_pins(conf);

    auto const& port_arr = conf.audio.port_arr;
    int ret = Err_OK;
    if (port_arr[kryn::PinDir_IN].nbr_pins < 0 && port_arr[kryn::PinDir_OUT].nbr_pins < 0) {
        ret = propose(conf.audio);
    }
    if (!check(conf.audio)) {
        cmd.result = kryn::PluginDsp::CmdPlug::NegoResult_REFUSED;
    }
    return ret;
}

} // namespace ulk::ace::baplug
