#pragma once

#include "ulk/dsp/rspl/InterpolatorInterface.h"

namespace ulk::dsp::rspl {

// Straight line between two frames.
class InterpolatorLerp : public InterpolatorInterface {
protected:
    void do_set_ovrspl_l2(int) override {}
    int do_get_impulse_len() const override { return IMPULSE_LEN; }
    FixedPoint do_get_group_delay() const override { return {GROUP_DELAY, 0}; }
    void do_start(int nbr_chn) override { _nbr_chn = nbr_chn; }
    long do_process_block(float* const* dest_arr, float const* const* src_arr, long dest_pos,
                          FixedPoint& src_pos, long dest_len, long src_beg, long src_end,
                          FixedPoint& rate, FixedPoint const& rate_step) override;

private:
    static constexpr int IMPULSE_LEN = 2;
    static constexpr int GROUP_DELAY = 1;

    int _nbr_chn = 1;
};

} // namespace ulk::dsp::rspl
