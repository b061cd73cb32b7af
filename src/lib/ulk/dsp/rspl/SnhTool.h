#pragma once

#include "ulk/math/FixedPoint.h"

namespace ulk::dsp::rspl {

// Sample and hold on an oversampled signal: below a rate of 1/2 each frame is held for 2 frames,
// below 1/4 for 4, and so on up to the oversampling. A change of the hold waits for the end of the
// current period and is then cross-faded over 256 frames in which both holds run. The hold does
// not depend on the size of the blocks, as long as the rate is constant. For one thread at a time.
class SnhTool {
public:
    using FixedPoint = math::FixedPoint;

    static constexpr int MAX_NBR_CHN = 32;

    SnhTool() = default;
    virtual ~SnhTool() = default;

    // Each of these goes back to the start of a period and drops a change under way; the hold
    // stays, but for set_ovrspl(), which goes back to 1.
    void set_nbr_chn(int nbr_chn);
    void set_ovrspl(int ovrspl_l2); // base-2 logarithm of the oversampling, from 0 on
    void clear_buffers();

    // In place on nbr_spl oversampled frames of each channel. rate is in source frames per
    // oversampled frame, and grows by rate_step at each of them.
    void process_data(float* const* data, long nbr_spl, FixedPoint const& rate,
                      FixedPoint const& rate_step); // real-time

    // The hold that a block can count on, in frames, and how many frames of its first period have
    // already gone.
    void compute_snh_data(int& hold_time, int& hold_pos, long nbr_spl, FixedPoint const& rate,
                          FixedPoint const& rate_step) const; // real-time

    // Takes pos and the rate's parameters to the next period's first frame, and makes the rate and
    // its step those of whole periods. hold_pos: frames of the current period that have gone.
    static void adjust_rate_param(long& pos, FixedPoint& src_pos, FixedPoint& rate,
                                  FixedPoint& rate_step, int hold_time, int hold_pos); // real-time

private:
    struct ChnState {
        float new_val; // held short; the only one when no change is under way
        float old_val; // held long
    };

    static constexpr long INTERP_LEN = 256; // frames

    int compute_hold_time(FixedPoint rate) const;
    void reset();
    void start_change(int hold_time);
    void finish_change();
    void process_data_steady_state(float* const* data, long pos, long nbr_spl);
    void process_data_steady_state_naive(float* const* data, long pos, long nbr_spl);
    void process_data_steady_state_block(float* const* data, long pos, long nbr_spl);
    void process_data_interpolate(float* const* data, long pos, long nbr_spl);
    void process_data_interpolate_naive(float* const* data, long pos, long nbr_spl);
    void process_data_interpolate_block(float* const* data, long pos, long nbr_spl);
    long compute_head(long nbr_spl) const;
    long round_to_periods(long nbr_spl) const;

    ChnState _chn_state[MAX_NBR_CHN] = {};
    int _nbr_chn = 1;
    int _ovrspl_l2 = 0;
    int _hold_time = 1; // frames; the shorter one during a change
    int _hold_pos = 0;
    float _interp_val = 0; // share of the long hold
    float _interp_step = 0;
    long _interp_rem = 0; // frames
    int _rep_index = 0;   // short period in the long one
    int _nbr_rep = 1;
};

} // namespace ulk::dsp::rspl
