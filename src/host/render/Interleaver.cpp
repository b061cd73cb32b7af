#include "host/render/Interleaver.h"

#include "ulk/dsp/BasicMixing.h"

namespace ulk::host::render {

Interleaver::Interleaver(int nbr_chn, long max_len)
    : _nbr_chn(nbr_chn)
    , _frames(static_cast<std::size_t>(max_len * nbr_chn)) {
    dsp::BasicMixing::setup();
}

float const* Interleaver::run(float const* const* chn_arr, long len) {
    if (_nbr_chn == 2) {
        dsp::BasicMixing::copy_2_2i(_frames.data(), chn_arr[0], chn_arr[1], len);
    } else {
        for (int chn = 0; chn < _nbr_chn; ++chn) {
            dsp::BasicMixing::copy_1_ni1(_frames.data() + chn, chn_arr[chn], len, _nbr_chn);
        }
    }
    return _frames.data();
}

} // namespace ulk::host::render
