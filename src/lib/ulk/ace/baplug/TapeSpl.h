#pragma once

#include "ulk/ace/baplug/ParamValMgrSmooth.h"
#include "ulk/ace/baplug/TapePinInfo.h"
#include "ulk/ace/baplug/TapeSplCbInterface.h"
#include "ulk/ace/baplug/rspl/ResamplerCst.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/mem/Array.h"

#include <vector>

namespace ulk::ace::baplug {

// One voice of Tape: a note, that is, a sample played from a start position at one pitch to one
// output pin, with a volume and a pan that may move while it plays.
//
//   free      --activate_sample-->   armed      parameters arrive, nothing sounds
//   armed     --Note On-->           playing    or free again, when the note cannot start
//   playing   --Note Off-->          releasing  the fade-out runs
//   playing, releasing               --> free   at a block's end: sample over, or faded out
//
// A block is cut at the stamps of its events: what stands at one stamp takes effect together when
// time moves on, in whatever order it came. The sample is read once a block, at the voice's first
// piece; each piece is mixed in segments that end where a fade does.
//
// process_block() and what it needs belong to the thread that processes; the rest comes between
// blocks.
class TapeSpl {
public:
    // Parameters of a note.
    enum Param : int {
        Param_ID = 0,
        Param_POS,
        Param_OUT,
        Param_VOL,
        Param_PITCH,
        Param_TIME_STRETCH,
        Param_PAN
    };

    static constexpr float _inertia_time = 0.005f;     // of volume and pan, in seconds
    static constexpr float _vol_threshold = 0.000001f; // at or below: not mixed
    static constexpr float _fade_time = 0.005f;        // of a full fade, in seconds
    static constexpr int _nbr_chn_max = 16;            // of a sample

    TapeSpl();
    virtual ~TapeSpl() = default;

    void set_cb(TapeSplCbInterface& cb) { _cb = &cb; } // once, before anything else
    void set_sample_freq(double sample_freq);          // Hz
    void update_lookahead();

    static constexpr long get_resampler_buf_len() { return rspl::ResamplerCst::get_tmp_buf_len(); }
    int get_oversampling_rate() const { return _resampler.get_oversampling_rate(); }
    bool is_active() const { return _active_flag; }     // real-time
    void force_deactivation() { _active_flag = false; } // real-time; at once, no fade
    void activate_sample(unsigned long note_id);        // real-time; a free voice
    // real-time. nbr_spl: 1 or more frames; events: of the whole block. Throws when the host does
    // not give its cache.
    void process_block(long nbr_spl, kryn::PluginDsp::EventList const& events,
                       std::vector<TapePinInfo>& pins);
    void handle_param(kryn::PluginDsp::EventParam const& evt); // real-time

private:
    using Dsp = kryn::PluginDsp;
    // Values at the start of a segment and just after its end.
    using Range = mem::Array<float, 2>;

    // What stands at one stamp, gathered until time moves on.
    struct NoteFlags {
        bool on = false;
        bool off = false;
        bool end = false;
    };

    // All real-time.
    void handle_event(Dsp::Event const& evt, NoteFlags& flags); // no foreign change
    void handle_param_begin(Dsp::EventParam const& evt);
    void handle_param_normal(Dsp::EventParam const& evt);
    bool handle_accumulated_note_events(bool& note_on, bool& note_off, bool& note_end);
    bool start_note();
    bool retrieve_sample_info();
    void start_fade_in();
    void start_fade_out();
    void finish_block();
    void check_prefetch();
    void generate_sample(long start, long end);
    void generate_silence_on_dirt();
    void compute_seg_vol(Range& vol, long len);
    void compute_seg_pan(Range& pan, long len);
    float compute_vol();
    void advance_fade(long len);
    void mix_seg(Range const& vol, Range const& pan, long start, long len);
    void mix_seg_mono_to_stereo(Range const& vol, Range const& pan, long start, long len);
    void mix_seg_stereo_to_mono(Range const& vol, Range const& pan, long start, long len);
    void mix_seg_stereo_to_stereo(Range const& vol, Range const& pan, long start, long len);
    void mix_seg_n_to_m(Range const& vol, long start, long len);
    void mix_chn(int dest_chn, int src_chn, long start, long len, float lvl_beg, float lvl_end);
    float const* use_src(int chn, long start) const;

    TapeSplCbInterface* _cb = nullptr;
    double _sample_freq = 44100; // of the plug-in, Hz
    bool _active_flag = false;   // belongs to a note and is to be processed
    unsigned long _note_id = 0;
    long long _spl_id = 0; // in the host
    int _pin_index = 0;
    ParamValMgrSmooth _pan;   // -1 to 1
    double _pitch = 0;        // semitones
    double _pos = 0;          // start, in seconds of the sample
    double _time_stretch = 0; // kept for the protocol; nothing stretches
    ParamValMgrSmooth _vol;   // normalised
    bool _started_flag = false;
    bool _released_flag = false;
    bool _rem_data_flag = false; // the sample had frames left after the last block
    float _rate = 1;             // source frames per output frame
    long _lookahead = 0;         // source frames
    long long _prefetch_pos = 0; // first frame not yet asked of the cache
    TapePinInfo* _pin_ptr = nullptr;
    float _fade_vol = 1;    // position on the fade, 0 to 1
    float _fade_step = 0;   // per output frame
    long _fade_rem = 0;     // output frames
    long long _spl_len = 0; // frames
    long _cache_id = 0;
    int _nbr_chn = 1;
    double _spl_freq = 44100; // of the sample, Hz
    rspl::ResamplerCst _resampler;
    long _block_len = 0;          // block in progress, 0 between blocks
    bool _generated_flag = false; // the block has been read from the sample
    bool _mixed_flag = false;     // something was mixed in this block
    double _law_norm = 0;         // last volume computed: normalised
    float _law_vol = 0;           // and natural
};

} // namespace ulk::ace::baplug
