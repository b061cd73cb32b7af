#pragma once

namespace ulk::dsp {

// Two-times decimator by a half-band filter of 8 coefficients. For one thread at a time; all but
// set_coefs() is real-time.
class Downsampler2xInterface {
public:
    virtual ~Downsampler2xInterface() = default;

    // 8 coefficients. The filter's memory stays.
    void set_coefs(double const* coef_arr) { do_set_coefs(coef_arr); }

    // src: two samples. The result is the low band.
    float process_sample(float const* src) { return do_process_sample(src); }
    // src: 2 * nbr_spl samples, dest: nbr_spl samples; both may be the same buffer.
    void process_block(float* dest, float const* src, long nbr_spl) {
        do_process_block(dest, src, nbr_spl);
    }

    // The same, with the high band beside the low one.
    void process_sample_split(float& low, float& high, float const* src) {
        do_process_sample_split(low, high, src);
    }
    void process_block_split(float* low, float* high, float const* src, long nbr_spl) {
        do_process_block_split(low, high, src, nbr_spl);
    }

    // Back to silence; the coefficients stay.
    void clear_buffers() { do_clear_buffers(); }

protected:
    virtual void do_set_coefs(double const* coef_arr) = 0;
    virtual float do_process_sample(float const* src) = 0;
    virtual void do_process_block(float* dest, float const* src, long nbr_spl) = 0;
    virtual void do_process_sample_split(float& low, float& high, float const* src) = 0;
    virtual void do_process_block_split(float* low, float* high, float const* src,
                                        long nbr_spl) = 0;
    virtual void do_clear_buffers() = 0;
};

} // namespace ulk::dsp
