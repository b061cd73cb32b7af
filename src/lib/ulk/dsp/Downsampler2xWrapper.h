#pragma once

#include "ulk/dsp/Downsampler2xInterface.h"

namespace ulk::dsp {

// Puts a decimator core, such as halfband::Downsampler2xFpu<8>, behind the interface.
template <class T>
class Downsampler2xWrapper : public Downsampler2xInterface {
protected:
    void do_set_coefs(double const* coef_arr) override { _core.set_coefs(coef_arr); }
    float do_process_sample(float const* src) override { return _core.process_sample(src); }
    void do_process_block(float* dest, float const* src, long nbr_spl) override {
        _core.process_block(dest, src, nbr_spl);
    }
    void do_process_sample_split(float& low, float& high, float const* src) override {
        _core.process_sample_split(low, high, src);
    }
    void do_process_block_split(float* low, float* high, float const* src, long nbr_spl) override {
        _core.process_block_split(low, high, src, nbr_spl);
    }
    void do_clear_buffers() override { _core.clear_buffers(); }

private:
    T _core;
};

} // namespace ulk::dsp
