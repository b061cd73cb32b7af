#include "ulk/dsp/FilterMoogSse.h"

#include "ulk/math/CstSse.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <numbers>

namespace ulk::dsp {

namespace {

// Four lanes on any processor. Plain loops would do, but for GCC turning each limit into a branch
// that loud signals make unpredictable.
using Vect = float __attribute__((vector_size(16)));
using Bits = int __attribute__((vector_size(16)));

inline Vect load(float const* ptr) {
    Vect val;
    std::memcpy(&val, ptr, sizeof(val));
    return val;
}

inline Vect limit(Vect val) {
    Vect const one = load(math::CstSse::_one);
    Vect const one_neg = load(math::CstSse::_one_neg);
    val = val < one ? val : one;
    return val > one_neg ? val : one_neg;
}

inline Vect get_abs(Vect val) {
    return std::bit_cast<Vect>(std::bit_cast<Bits>(val) &
                               std::bit_cast<Bits>(load(math::CstSse::_mask_abs)));
}

} // namespace

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
    Vect const stage = load(_stage);
    Vect const t = limit(stage + 0.125f);
    Vect const fb = t + (get_abs(t) - t * t) * t - 0.138671875f;
    float const ladder_in = in - _feedback * fb[3];

    Vect const over = stage - limit(stage);
    Vect const clipped = stage - over * get_abs(over) * load(math::CstSse::_half);

    // One store: four of them would hold up the next sample's load.
    float const s0 = (ladder_in + _prev_in) * _stage_ff - _stage_fb * clipped[0];
    float const s1 = (s0 + clipped[0]) * _stage_ff - _stage_fb * clipped[1];
    float const s2 = (s1 + clipped[1]) * _stage_ff - _stage_fb * clipped[2];
    float const s3 = (s2 + clipped[2]) * _stage_ff - _stage_fb * clipped[3];
    Vect const result = {s0, s1, s2, s3};
    std::memcpy(_stage, &result, sizeof(_stage));
    _prev_in = ladder_in;
    return s3 * _gain;
}

} // namespace ulk::dsp
