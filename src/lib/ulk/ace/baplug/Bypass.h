#pragma once

#include "ulk/ace/baplug/PluginDesc.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/pibase/BidirComPoint.h"

#include <vector>

namespace ulk::ace::baplug {

// Copies each input pin to the output pin of the same index. No parameter, no latency, no state
// but the pin configuration, which is the same on both sides.
class Bypass {
public:
    explicit Bypass(pibase::BidirComPoint& com);
    virtual ~Bypass() = default;

    Bypass(Bypass const&) = delete;
    Bypass& operator=(Bypass const&) = delete;

    static int execute_command_static(pibase::BidirComPoint* com, int cmd, void* data);
    int execute_command(int cmd, void* data);

private:
    using CmdPlug = kryn::PluginDsp::CmdPlug;
    using AudioConf = kryn::PluginDsp::AudioConf;

    int destroy();
    int get_pin_conf(CmdPlug::GetPinConf& cmd) const;
    int negotiate_pin_conf(CmdPlug::NegotiatePinConf& cmd) const;
    int set_pin_conf(CmdPlug::SetPinConf const& cmd);
    int process(CmdPlug::Process& cmd) const; // real-time

    static int propose_audio_config(AudioConf& conf);
    static bool check_audio_config(AudioConf const& conf);

    pibase::BidirComPoint& _com;
    std::vector<int> _chn_arr; // channel count of each pin
    PluginDesc _desc;
};

} // namespace ulk::ace::baplug
