#include "ulk/dsp/FilterMoogSse.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ulk::dsp {

FilterMoogSse::FilterMoogSse() {
    double const c = 1 / std::tan(std::numbers::pi * 1000 / 44100);
    double const g = 1 / (c + 1);
    _stage_ff = static_cast<float>(g);
    _stage_fb = static_cast<float>((1 - c) * g);
}

void FilterMoogSse::set_sample_freq(float sample_freq) {
    _sample_freq = sample_freq;
    update_coefs();
}

void FilterMoogSse::set_cutoff(float freq) {
    _cutoff = freq;
    update_coefs();
}

void FilterMoogSse::set_resonance(float resonance) {
    _resonance = resonance;
    update_coefs();
}

void FilterMoogSse::clear_buffers() {
    std::fill_n(_stage, NBR_STAGES, 0.0f);
    _prev_in = 0;
}

void FilterMoogSse::process_block(float* dst, float const* src, long nbr_spl) {
    FilterMoogSse local(*this); // stays in registers
    for (long pos = 0; pos < nbr_spl; ++pos) {
        dst[pos] = local.process_sample(src[pos]);
    }
    *this = local;
}

void FilterMoogSse::process_block(float* dst, long nbr_spl) {
    process_block(dst, dst, nbr_spl);
}

void FilterMoogSse::process_block_fm(float* dst, float const* src, float const* freq,
                                     long nbr_spl) {
    FilterMoogSse local(*this);
    for (long pos = 0; pos < nbr_spl; ++pos) {
        local._cutoff = freq[pos];
        local.update_coefs();
        dst[pos] = local.process_sample(src[pos]);
    }
    *this = local;
}

bool FilterMoogSse::check_denormal() const {
    auto const is_denormal = [](float val) { return std::fpclassify(val) == FP_SUBNORMAL; };
    return std::none_of(_stage, _stage + NBR_STAGES, is_denormal) && !is_denormal(_prev_in);
}

// The cotangent comes from the first terms of the tangent's series.
inline void FilterMoogSse::update_coefs() {
    double const f = static_cast<double>(_cutoff) / static_cast<double>(_sample_freq);
    double const r = static_cast<double>(_resonance);
    double const w = std::numbers::pi * f;
    double const w2 = w * w;
    double const c = 1 / ((w2 * (w2 * 0.13333333333333333 + 0.3333333333333333) + 1) * w);
    double const g = 1 / (c + 1);
    _feedback = static_cast<float>(r * 12 / (((f * 8 + 5) * f + 6) * f + 2));
    _stage_ff = static_cast<float>(g);
    _stage_fb = static_cast<float>((1 - c) * g);
    _gain_target = static_cast<float>((1 - r) + r * ((f - 0.25) * (f - 0.25) * 24 + 0.5));
}

inline float FilterMoogSse::process_sample(float in) {
    _gain += (_gain_target - _gain) * _gain_smooth;

    // The constant is the value of the curve for a silent last stage.
    float const t = std::clamp(_stage[3] + 0.125f, -1.0f, 1.0f);
    float const fb = t + (std::fabs(t) - t * t) * t - 0.138671875f;
    float const ladder_in = in - _feedback * fb;

    float clipped[NBR_STAGES];
    for (int i = 0; i < NBR_STAGES; ++i) {
        float const over = _stage[i] - std::clamp(_stage[i], -1.0f, 1.0f);
        clipped[i] = _stage[i] - over * std::fabs(over) * 0.5f;
    }

    _stage[0] = (ladder_in + _prev_in) * _stage_ff - _stage_fb * clipped[0];
    for (int i = 1; i < NBR_STAGES; ++i) {
        _stage[i] = (_stage[i - 1] + clipped[i - 1]) * _stage_ff - _stage_fb * clipped[i];
    }
    _prev_in = ladder_in;
    return _stage[3] * _gain;
}

} // namespace ulk::dsp
