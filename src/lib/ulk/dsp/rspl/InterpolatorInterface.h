#pragma once

#include "ulk/math/FixedPoint.h"

namespace ulk::dsp::rspl {

// Reads frames at fractional positions of a straight stretch of data. An output frame needs
// get_impulse_len() source frames, the first of them at the integer part of the position. All but
// the set-up is real-time; one thread at a time.
class InterpolatorInterface {
public:
    using FixedPoint = math::FixedPoint;

    virtual ~InterpolatorInterface() = default;

    // Base-2 logarithm of the output's oversampling.
    void set_ovrspl_l2(int ovrspl_l2) { do_set_ovrspl_l2(ovrspl_l2); }
    int get_impulse_len() const { return do_get_impulse_len(); }
    // In source frames, from the impulse's last frame back to the place that the output stands for.
    FixedPoint get_group_delay() const { return do_get_group_delay(); }
    void start(int nbr_chn) { do_start(nbr_chn); }

    // Writes up to dest_len frames from dest_arr[chn][dest_pos] on, as long as the integer part of
    // src_pos lies from src_beg to src_end - impulse length, which is tested before each frame. A
    // frame adds rate to src_pos, and then rate_step to rate, once for all channels. The result is
    // the count of frames made.
    long process_block(float* const* dest_arr, float const* const* src_arr, long dest_pos,
                       FixedPoint& src_pos, long dest_len, long src_beg, long src_end,
                       FixedPoint& rate, FixedPoint const& rate_step) {
        return do_process_block(dest_arr, src_arr, dest_pos, src_pos, dest_len, src_beg, src_end,
                                rate, rate_step);
    }

protected:
    virtual void do_set_ovrspl_l2(int ovrspl_l2) = 0;
    virtual int do_get_impulse_len() const = 0;
    virtual FixedPoint do_get_group_delay() const = 0;
    virtual void do_start(int nbr_chn) = 0;
    virtual long do_process_block(float* const* dest_arr, float const* const* src_arr,
                                  long dest_pos, FixedPoint& src_pos, long dest_len, long src_beg,
                                  long src_end, FixedPoint& rate, FixedPoint const& rate_step) = 0;
};

} // namespace ulk::dsp::rspl
