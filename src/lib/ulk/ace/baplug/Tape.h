#pragma once

#include "ulk/ace/baplug/ParamValMgrSmooth.h"
#include "ulk/ace/baplug/PluginDesc.h"
#include "ulk/ace/baplug/TapePinInfo.h"
#include "ulk/ace/baplug/TapeSpl.h"
#include "ulk/ace/baplug/TapeSplCbInterface.h"
#include "ulk/dsp/Downsampler2xInterface.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/mem/Array.h"
#include "ulk/mem/SharedPtr.h"
#include "ulk/pibase/BidirComPoint.h"
#include "ulk/prout/ParamAdder.h"
#include "ulk/prout/ParamDescList.h"

#include <vector>

namespace ulk::ace::baplug {

// Plays the audio of a track: up to 64 notes at once, each a sample out of the host's cache, on 1
// or more output pins. With input pins, one for each output, the input passes through and the notes
// are added to it.
//
// Voices mix to buffers of their pin, which go to the host's with the master volume. Silence is a
// state of a pin: a buffer is cleared by the first voice that needs it, and by nobody else.
//
// PROCESS and CLEAR_BUFFERS come from the real-time thread; all commands that reshape the plug-in
// come between blocks; DESCRIBE, GET_PARAM_VAL and the conversions may run beside a block.
class Tape : public TapeSplCbInterface {
public:
    explicit Tape(pibase::BidirComPoint& com);

    Tape(Tape const&) = delete;
    Tape& operator=(Tape const&) = delete;

    static int execute_command_static(pibase::BidirComPoint* com, int cmd, void* data);
    int execute_command(int cmd, void* data);

protected:
    // TapeSplCbInterface
    int do_get_nbr_pins() const override;
    TapePinInfo& do_use_pin_mix_buffers(int pin_index) override;
    BufInfo const& do_use_tmp_buf(BufType type) const override;
    long do_get_tmp_buf_chn_stride() const override;
    int do_get_sample_info(long long sample_id, long& cache_id, long long& len, double& sample_freq,
                           int& nbr_chn) override;
    sacc::SplCacheRtInterface& do_use_cache() override;

private:
    using Dsp = kryn::PluginDsp;
    using CmdPlug = Dsp::CmdPlug;
    using DownsamplerPtr = mem::SharedPtr<dsp::Downsampler2xInterface>;

    static constexpr int _nbr_voices = 64;
    static constexpr int _nbr_chn_max = 16; // of a pin

    enum Param : int { Param_VOL = 0, Param_PITCH_SHIFT };

    // Configuration of the pins of one direction.
    struct AudioConfSingle {
        std::vector<long> _chn_vect;
        Dsp::AudioConfPort _port = {0, 0, nullptr}; // its array is _chn_vect
    };

    // All working memory, before the voices and pins get it.
    struct TmpMem {
        std::vector<float> buf;
        long stride = 0;                           // between two channels, in floats
        mem::Array<long, BufType_NBR_ELT> len_arr; // of the areas, in floats
    };

    static void init_audio_conf_port(AudioConfSingle& conf, int nbr_pins, int nbr_chn);
    void init_pin_confs();
    void init_params();
    static void init_param_glob_vol(prout::ParamAdder& adder);
    static void init_param_glob_pitch_shift(prout::ParamAdder& adder);
    static void init_param_note_id(prout::ParamAdder& adder);
    static void init_param_note_pos(prout::ParamAdder& adder);
    static void init_param_note_out(prout::ParamAdder& adder);
    static void init_param_note_vol(prout::ParamAdder& adder);
    static void init_param_note_pitch(prout::ParamAdder& adder);
    static void init_param_note_timestretch(prout::ParamAdder& adder);
    static void init_param_note_pan(prout::ParamAdder& adder);

    int destroy();
    int init();
    int deactivate();
    int set_process_block_len(CmdPlug::SetProcessBlockLen const& cmd);
    int set_sample_freq(CmdPlug::SetSampleFreq const& cmd);
    int get_pin_conf(CmdPlug::GetPinConf& cmd) const;
    int negotiate_pin_conf(CmdPlug::NegotiatePinConf& cmd) const;
    int set_pin_conf(CmdPlug::SetPinConf const& cmd);
    int process(CmdPlug::Process& cmd); // real-time
    int clear_buffers();                // real-time
    int get_param_val(CmdPlug::GetParamVal& cmd) const;
    int conv_param(int cmd, void* data) const;

    static bool check_config(Dsp::FullPinConf const& conf);
    static bool check_audio_config(Dsp::AudioConf const& conf);
    prout::ParamDescList const* access_param(kryn::ParamLocation const& location) const;
    int update_pins_out();
    static TmpMem make_tmp_mem(long block_len, long nbr_chn);
    int update_tmp_buf(TmpMem& mem);
    void assign_mix_buffers();

    int send_cmd_to_host(int cmd, void* data, bool opt_flag, char const* fnc_name, bool rt_flag);
    static void dump_error(int ret, char const* fnc_name, bool rt_flag);
    static void dump_unimplemented_func_error(char const* fnc_name, bool rt_flag);

    // All real-time.
    void process_prepare_buf(CmdPlug::Process& cmd);
    void process_voices(CmdPlug::Process& cmd);
    void process_scan_active_samples(CmdPlug::Process& cmd);
    void process_scan_new_samples(CmdPlug::Process& cmd);
    void process_downsample(long nbr_spl);
    void process_scan_master(CmdPlug::Process& cmd);
    void process_master_span(long pos, long end, Dsp::ProcessInfoPort& port_out);
    void process_finalise_buf(CmdPlug::Process& cmd);
    void mix_pins_out(long pos, long len, double vol_beg, double vol_end,
                      Dsp::ProcessInfoPort& port_out);
    TapeSpl* find_free_voice(int& voice_index);
    void force_voices_off();

    pibase::BidirComPoint* const _com_ptr;
    AudioConfSingle _out_conf;
    bool _in_flag = false; // one input pin for each output pin
    std::vector<TapePinInfo> _pin_arr;
    std::vector<std::vector<DownsamplerPtr>> _dspl_arr; // by pin and channel
    std::vector<float> _tmp_buf;                        // all working memory
    long _block_len = 0;                                // frames, 0 before the host tells
    mem::Array<BufInfo, BufType_NBR_ELT> _tmp_buf_info;
    mem::Array<TapeSpl, _nbr_voices> _voice_arr;
    // Floats between two channels in the working memory. 0 while the pins have none.
    long _chn_stride = 0;
    prout::ParamDescList _param_desc_glob;
    prout::ParamDescList _param_desc_note;
    ParamValMgrSmooth _vol;         // normalised
    ParamValMgrSmooth _pitch_shift; // semitones
    PluginDesc _desc;
};

} // namespace ulk::ace::baplug
