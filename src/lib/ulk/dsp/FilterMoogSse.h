#pragma once

namespace ulk::dsp {

// Non-linear low-pass ladder: four first-order stages by the bilinear transform, each with a soft
// clip in its feedback, and a shaped feedback from the last stage to the input. After T. Stilson
// and J. Smith, "Analyzing the Moog VCF with considerations for digital implementation", ICMC 1996.
// Frequencies in Hz, resonance from 0 to 1, both unchecked; the cutoff's tangent is a series that
// holds below a third of the sample rate. For one thread at a time; every operation is real-time.
class FilterMoogSse {
public:
    FilterMoogSse(); // 1 kHz at 44.1 kHz, no resonance

    void set_sample_freq(float sample_freq);
    void set_cutoff(float freq);
    void set_resonance(float resonance);
    void clear_buffers(); // stages and previous input; the smoothed output gain stays

    // dst may be src.
    void process_block(float* dst, float const* src, long nbr_spl);
    void process_block(float* dst, long nbr_spl);
    // The cutoff of each sample is freq[i], and the last one stays.
    void process_block_fm(float* dst, float const* src, float const* freq, long nbr_spl);

    // True when neither a stage nor the previous input holds a denormal number.
    bool check_denormal() const;

private:
    static constexpr int NBR_STAGES = 4;

    void update_coefs();
    float process_sample(float in);

    alignas(16) float _stage[NBR_STAGES] = {}; // output of each stage
    float _prev_in = 0;                        // input of the ladder, one sample before
    float _feedback = 0;                       // k
    float _stage_fb;                           // a
    float _stage_ff;                           // g
    float _gain_target = 1;                    // makes up for what the resonance takes
    float _gain = 1;                           // the same, smoothed
    float _gain_smooth = 1.0f / 256;
    float _sample_freq = 44100;
    float _cutoff = 1000;
    float _resonance = 0;
};

} // namespace ulk::dsp
