#include "ulk/dsp/rspl/InterpolatorLerp.h"

#include "ulk/math/cst.h"

namespace ulk::dsp::rspl {

// Channel by channel: the first one finds the count of frames, the others replay it.
long InterpolatorLerp::do_process_block(float* const* dest_arr, float const* const* src_arr,
                                        long dest_pos, FixedPoint& src_pos, long dest_len,
                                        long src_beg, long src_end, FixedPoint& rate,
                                        FixedPoint const& rate_step) {
    FixedPoint const pos_beg = src_pos;
    FixedPoint const rate_beg = rate;
    FixedPoint const step = rate_step; // no buffer can overlap a local
    long const src_stop = src_end - IMPULSE_LEN + 1;
    long nbr_spl = dest_len;
    for (int chn = 0; chn < _nbr_chn; ++chn) {
        float* const dest = dest_arr[chn] + dest_pos;
        float const* const src = src_arr[chn];
        FixedPoint pos = pos_beg;
        FixedPoint cur_rate = rate_beg;
        long done = 0;
        for (; done < nbr_spl; ++done) {
            long const index = pos.get_int_part();
            if (index < src_beg || index >= src_stop) {
                break;
            }
            float const f = static_cast<float>(pos.get_frac() * math::TWOPM32);
            float const x0 = src[index];
            dest[done] = x0 + f * (src[index + 1] - x0);
            pos += cur_rate;
            cur_rate += step;
        }
        nbr_spl = done;
        src_pos = pos;
        rate = cur_rate;
    }
    return nbr_spl;
}

} // namespace ulk::dsp::rspl
