#pragma once

#include "ulk/ace/baplug/PluginDesc.h"
#include "ulk/ace/baplug/PluginType.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/pibase/BidirComPoint.h"

#include <vector>

namespace ulk::ace::baplug {

// The end points of the host's routing graph: the audio input has output pins alone, the audio
// output input pins alone. The host reads and fills their buffers itself; no sample is touched.
class InOut {
public:
    // type: PluginType_AUDIO_INPUT or PluginType_AUDIO_OUTPUT.
    InOut(pibase::BidirComPoint& com, PluginType type);
    virtual ~InOut() = default;

    InOut(InOut const&) = delete;
    InOut& operator=(InOut const&) = delete;

    static int execute_command_static(pibase::BidirComPoint* com, int cmd, void* data);
    int execute_command(int cmd, void* data);

private:
    using CmdPlug = kryn::PluginDsp::CmdPlug;
    using AudioConf = kryn::PluginDsp::AudioConf;
    using AudioConfPort = kryn::PluginDsp::AudioConfPort;
    using FullPinConf = kryn::PluginDsp::FullPinConf;

    kryn::PinDir get_main_pin_dir() const; // the side that has pins
    void add_pin_conf(unsigned long long chn_mask, char const* name);

    int destroy();
    int get_pin_conf(CmdPlug::GetPinConf& cmd) const;
    int negotiate_pin_conf(CmdPlug::NegotiatePinConf& cmd) const;
    int set_pin_conf(CmdPlug::SetPinConf const& cmd);
    int process(CmdPlug::Process& cmd) const; // real-time

    void complete_conf(FullPinConf& conf) const;
    bool check_audio_config(AudioConf const& conf) const;
    void copy_audio_config_to_plugin(AudioConfPort const& port);
    static int copy_conf_check(AudioConfPort& dst, AudioConfPort const& src);
    static void copy_conf(AudioConfPort& dst, AudioConfPort const& src);

    PluginType const _type;
    pibase::BidirComPoint& _com;
    AudioConfPort _conf = {}; // of the main side; its array is _chn_arr
    std::vector<long> _chn_arr;
    PluginDesc _desc;
};

} // namespace ulk::ace::baplug
