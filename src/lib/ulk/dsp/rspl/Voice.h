#pragma once

#include "ulk/dsp/SplDataRetrievalInterface.h"
#include "ulk/dsp/rspl/InterpolatorInterface.h"
#include "ulk/math/FixedPoint.h"

namespace ulk::dsp::rspl {

// Player of one sample at a variable rate, in both directions, with loops. Each pass straightens
// direction and loops into a scratch window, on which the interpolator runs without a test.
//
// A position is the frame pos and a fraction of 2^32 that counts in the direction of play, so that
// backward it stands for pos - frac / 2^32. Frames before and behind the sample are silence. The
// size of the blocks does not change what is played, but for the rounding of fades.
//
// Set up interpolator, sample frequency and scratch, activate(), set rate and position, start(),
// then process_block() until is_active() is false. One thread at a time; process_block() is
// real-time as far as the interpolator and the retrieval object are.
class Voice {
public:
    using FixedPoint = math::FixedPoint;

    static constexpr int MAX_NBR_CHN = 64;

    enum LoopMode {
        LoopMode_NONE = 0,
        LoopMode_FORWARD,
        LoopMode_BACK_AND_FORTH,
        LoopMode_NBR_ELT
    };

    Voice();
    virtual ~Voice() = default;

    // Neither this nor the scratch and the retrieval object are owned. The position stays.
    void set_interpolator(InterpolatorInterface& interp);
    InterpolatorInterface& use_interpolator() { return *_interp_ptr; }
    // Of the output, in Hz, with the base-2 logarithm of its oversampling. After the interpolator.
    void set_sample_freq(double fs, int ovrspl_l2);
    // len floats for all channels. A scratch that holds less than an impulse a channel plays
    // nothing.
    void set_tmp_buf(float* ptr, long len);
    void update_tmp_buf_info();
    void set_fade_duration(double duration); // seconds

    // From frame 0 forward, without loop; not started. The rate stays as it was. spl_freq is kept
    // for the record: the rate has to tell the ratio.
    void activate(SplDataRetrievalInterface& data, long long spl_len, int nbr_chn,
                  double spl_freq);                         // real-time
    void deactivate() { _data_ptr = nullptr; }              // real-time
    bool is_active() const { return _data_ptr != nullptr; } // real-time

    // All real-time. Source frames per output frame, and what each output frame adds to that. A
    // voice whose rate is not above 0 stops.
    void set_rate(double rate, double rate_step);
    void set_direction(bool backward_flag);
    bool is_running_backward() const { return _dir < 0; }
    void set_playback_pos(long long pos, unsigned int frac);
    void get_playback_pos(long long& pos, unsigned int& frac) const;
    static void conv_pos_flt_to_fix(long long& pos, unsigned int& frac, double pos_flt);
    // The frames from beg to beg + len - 1, as far as they are in the sample. A loop that the
    // cursor has left behind has no effect.
    void set_loop_info(LoopMode mode, long long beg, long long len);

    void start(bool fade_flag); // real-time
    // Without fade, or with nothing to fade, the next block is silent and the last one.
    void stop(bool fade_flag); // real-time

    // One buffer a channel, nbr_spl frames each.
    void process_block(float** dest_arr, long nbr_spl); // real-time

private:
    struct Loop {
        LoopMode mode;
        long long beg;
        long long end;
    };

    void compensate_pos_for_group_delay(long long& pos, unsigned int& frac, int dir) const;
    FixedPoint compute_compensation() const;
    void setup_fade(float target);
    bool is_finished() const;
    void finish(float* const* dest_arr, long pos, long nbr_spl);
    void generate(float* const* dest_arr, long nbr_spl);
    long generate_pass(float* const* dest_arr, float* const* tmp_arr, long pos, long nbr_spl);
    void apply_fade(float* const* dest_arr, long nbr_spl);
    void clear_chn(float* const* chn_arr, long pos, long nbr_spl) const;
    long long compute_advance(long nbr_spl, unsigned int& frac) const;
    long limit_to_positive_rate(long nbr_spl) const;

    Loop get_active_loop() const;
    void linearise_sample(float* const* tmp_arr, long len) const;
    static bool is_loop_ahead(Loop const& loop, long long pos, int dir);
    long long compute_next_stop(Loop const& loop, bool loop_flag, int dir) const;
    long collect_source_spl(float* const* tmp_arr, long tmp_pos, long long& pos, int dir,
                            long long stop, long len) const;
    void advance_cursor_pos(long long& pos, int& dir, long long len) const;
    static void wrap(Loop const& loop, long long& pos, int& dir);

    InterpolatorInterface* _interp_ptr = nullptr;
    int _impulse_len = 1;
    FixedPoint _group_delay;
    SplDataRetrievalInterface* _data_ptr = nullptr;
    int _ovrspl_l2 = 0;
    double _sample_freq = 44100;
    double _fade_duration = 0.005;
    float* _tmp_buf_ptr = nullptr;
    long _tmp_buf_len = 0; // floats
    long _tmp_chn_len = 0; // frames
    double _spl_freq = 44100;
    long long _spl_len = 0;
    int _nbr_chn = 1;
    FixedPoint _rate = 1;
    FixedPoint _rate_step;
    LoopMode _loop_mode = LoopMode_NONE;
    long long _loop_beg = 0;
    long long _loop_end = 0;
    long long _pos = 0; // first frame of the impulse
    unsigned int _pos_frac = 0;
    int _dir = 1; // 1 or -1
    bool _started_flag = false;
    bool _stopping_flag = false;
    long _fade_rem = 0; // frames
    float _fade_vol = 0;
    float _fade_step = 0;
};

} // namespace ulk::dsp::rspl
