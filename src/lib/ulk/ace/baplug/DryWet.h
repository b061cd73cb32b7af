#pragma once

#include "ulk/ace/baplug/ParamValMgrSmooth.h"
#include "ulk/ace/baplug/PluginDesc.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/pibase/BidirComPoint.h"
#include "ulk/prout/ParamAdder.h"
#include "ulk/prout/ParamDescList.h"
#include "ulk/prout/ProcLoop.h"

#include <limits>
#include <vector>

namespace ulk::ace::baplug {

// Mixes a processed and an unprocessed signal. Output pin i takes the wet signal of input pin 2i
// and the dry one of 2i + 1. Silence is a flag and is never computed.
class DryWet {
public:
    explicit DryWet(pibase::BidirComPoint& com);
    virtual ~DryWet() = default;

    DryWet(DryWet const&) = delete;
    DryWet& operator=(DryWet const&) = delete;

    static int execute_command_static(pibase::BidirComPoint* com, int cmd, void* data);
    int execute_command(int cmd, void* data);

    // Clears the channels of a silent pin whose buffers are undefined, and says so in its state.
    // A pin in another state stays as it is. For who needs real samples. real-time
    static void defer_silent_pin(kryn::PluginDsp::PinData& pin, int nbr_chn, long nbr_spl);

private:
    using Dsp = kryn::PluginDsp;
    using CmdPlug = Dsp::CmdPlug;
    using AudioConf = Dsp::AudioConf;

    enum Param : int { Param_BYPASS = 0, Param_DRYWET, Param_GAIN, Param_NBR_ELT };

    struct PinState {
        int nbr_chn = 0;
        bool written = false; // something was written to the output in this block
    };

    // Gains of both sources at one instant.
    struct Levels {
        double dry;
        double wet;
    };

    // What the levels follow from: the effective values.
    struct LevelKey {
        double drywet;
        double bypass;
        double gain;
        bool operator==(LevelKey const& other) const = default;
    };

    // A run of frames within the block.
    struct Segment {
        long pos;
        long len;
    };

    void init_param_bypass(prout::ParamAdder& adder);
    void init_param_drywet(prout::ParamAdder& adder);
    void init_param_gain(prout::ParamAdder& adder);

    int destroy();
    int init();
    int set_sample_freq(CmdPlug::SetSampleFreq const& cmd);
    int get_pin_conf(CmdPlug::GetPinConf& cmd) const;
    int negotiate_pin_conf(CmdPlug::NegotiatePinConf& cmd) const;
    int set_pin_conf(CmdPlug::SetPinConf const& cmd);
    int process(CmdPlug::Process& cmd); // real-time
    int clear_buffers();                // real-time
    int get_param_val(CmdPlug::GetParamVal& cmd) const;
    int conv_param(int cmd, void* data) const;

    static int propose_audio_config(AudioConf& conf);
    static bool check_audio_config(AudioConf const& conf);

    // All real-time.
    void prepare_buffers();
    void finalise_buffers();
    void process_drywet_events(Dsp::Event const& evt);
    void process_drywet_samples(long beg, long end);
    void bound_sub_proc_len_with_params(long& len) const;
    void tick_param(long len);
    Levels const& compute_levels();
    void mix_pins(Segment seg, Levels const& beg, Levels const& end);
    void mix_one_pin(Segment seg, double lvl_beg, double lvl_end, PinState& pin,
                     Dsp::PinData const& in, Dsp::PinData& out, bool& has_content);
    static void transfer_unity(Segment seg, int nbr_chn, Dsp::PinData const& in, Dsp::PinData& out,
                               bool mix_flag);
    static void transfer_level(Segment seg, double lvl_beg, double lvl_end, int nbr_chn,
                               Dsp::PinData const& in, Dsp::PinData& out, bool mix_flag);
    // Clears a segment of the outputs that were written so far.
    void clear_output_buffers(long pos, long len);

    pibase::BidirComPoint& _com;
    std::vector<PinState> _pin_state_arr; // by output pin
    prout::ParamDescList _param_desc_list;
    ParamValMgrSmooth _param_drywet;
    ParamValMgrSmooth _param_bypass;
    ParamValMgrSmooth _param_gain;
    // By parameter index, which is also the order in which they are bounded and ticked.
    ParamValMgrSmooth* const _param_arr[Param_NBR_ELT] = {&_param_bypass, &_param_drywet,
                                                          &_param_gain};
    PluginDesc _desc;
    CmdPlug::Process* _proc_ptr = nullptr; // record being served, null outside PROCESS
    // The last levels and their key: while nothing moves, no curve is computed.
    LevelKey _level_key = {std::numeric_limits<double>::quiet_NaN(), 0, 0};
    Levels _levels = {0, 0};
    prout::ProcLoop<DryWet> _proc_loop;
};

} // namespace ulk::ace::baplug
