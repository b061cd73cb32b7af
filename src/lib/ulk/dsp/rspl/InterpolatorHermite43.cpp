#include "ulk/dsp/rspl/InterpolatorHermite43.h"

#include "ulk/math/cst.h"

namespace ulk::dsp::rspl {

namespace {

inline float interpolate(float const* src, float f) {
    float const x0 = src[0], x1 = src[1], x2 = src[2], x3 = src[3];
    float const c1 = (x2 - x0) * 0.5f;
    float const c3 = (x1 - x2) * 1.5f + (x3 - x0) * 0.5f;
    float const c2 = x0 - x1 + c1 - c3;
    return x1 + ((c2 + c3 * f) * f + c1) * f;
}

} // namespace

long InterpolatorHermite43::do_process_block(float* const* dest_arr, float const* const* src_arr,
                                             long dest_pos, FixedPoint& src_pos, long dest_len,
                                             long src_beg, long src_end, FixedPoint& rate,
                                             FixedPoint const& rate_step) {
    FixedPoint pos = src_pos;
    FixedPoint cur_rate = rate;
    FixedPoint const step = rate_step; // no buffer can overlap a local
    int const nbr_chn = _nbr_chn;
    long const src_stop = src_end - IMPULSE_LEN + 1;
    long done = 0;
    for (; done < dest_len; ++done) {
        long const index = pos.get_int_part();
        if (index < src_beg || index >= src_stop) {
            break;
        }
        float const f = static_cast<float>(pos.get_frac() * math::TWOPM32);
        for (int chn = 0; chn < nbr_chn; ++chn) {
            dest_arr[chn][dest_pos + done] = interpolate(src_arr[chn] + index, f);
        }
        pos += cur_rate;
        cur_rate += step;
    }
    src_pos = pos;
    rate = cur_rate;
    return done;
}

} // namespace ulk::dsp::rspl
