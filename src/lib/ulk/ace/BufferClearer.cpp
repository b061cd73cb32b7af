#include "ulk/ace/BufferClearer.h"

#include "ulk/ace/Constants.h"
#include "ulk/dsp/BasicMixing.h"
#include "ulk/dsp/GenWhiteNoiseFast.h"

namespace ulk::ace {

void BufferClearer::clear_buf_antidenormal_fast(float* buf, long len) {
    dsp::BasicMixing::clear(buf, len);
    buf[len >> 1] = -3.0f * Constants::ANTI_DENORMAL;
    buf[len - 1] = 7.0f * Constants::ANTI_DENORMAL;
}

void BufferClearer::clear_buf_antidenormal(float* buf, long len) {
    dsp::GenWhiteNoiseFast noise;
    noise.set_rough_level(Constants::ANTI_DENORMAL, dsp::GenWhiteNoiseFast::Mode_POSITIVE);
    noise.process_block(buf, len);
}

} // namespace ulk::ace
