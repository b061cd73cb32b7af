#pragma once

#include "support/BundleInstance.h"
#include "support/RealTimeGuard.h"
#include "ulk/kryn/Plugin.h"
#include "ulk/kryn/PluginDsp.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace test {

// Buffers of the pins of one direction, with guards before and behind each channel.
class MixerBuffers {
public:
    using Dsp = kryn::PluginDsp;
    static constexpr long guard_len = 20;
    static constexpr float pattern = -12345.678f; // what must not be written

    MixerBuffers(std::vector<long> const& pin_arr, long max_len)
        : _stride(max_len + 2 * guard_len) {
        long nbr_chn = 0;
        for (long const n : pin_arr) {
            nbr_chn += n;
        }
        _mem.assign(static_cast<std::size_t>(nbr_chn * _stride), pattern);
        long pos = guard_len;
        for (long const n : pin_arr) {
            _ptr_arr.emplace_back();
            for (long chn = 0; chn < n; ++chn, pos += _stride) {
                _ptr_arr.back().push_back(&_mem[static_cast<std::size_t>(pos)]);
            }
        }
        for (auto& ptr_arr : _ptr_arr) {
            pins.push_back({ptr_arr.data(), 0});
        }
    }
    MixerBuffers(MixerBuffers const&) = delete;
    MixerBuffers& operator=(MixerBuffers const&) = delete;

    void reset() { std::fill(_mem.begin(), _mem.end(), pattern); }
    float* chn(std::size_t pin, std::size_t chn) { return _ptr_arr[pin][chn]; }
    std::size_t get_nbr_chn(std::size_t pin) const { return _ptr_arr[pin].size(); }
    // To the bit, guards included.
    bool operator==(MixerBuffers const& other) const {
        return _mem.empty() ||
               std::memcmp(_mem.data(), other._mem.data(), _mem.size() * sizeof(float)) == 0;
    }
    std::vector<float> const& use_mem() const { return _mem; }
    void copy_mem(MixerBuffers const& other) { _mem = other._mem; }

    std::vector<Dsp::PinData> pins;

private:
    long _stride;
    std::vector<float> _mem;
    std::vector<std::vector<float*>> _ptr_arr;
};

// An instance of the mixer in the bundle.
class Mixer {
public:
    using Dsp = kryn::PluginDsp;
    using CmdPlug = Dsp::CmdPlug;

    Mixer() { EXPECT_EQ(0, bundle.instantiate("Brevanto#TessitoneDryWet", point)); }

    void init() { EXPECT_EQ(0, point.send(kryn::Plugin::CmdPlug::INIT)); }
    void clear_buffers() {
        RealTimeGuard guard;
        EXPECT_EQ(0, point.send(CmdPlug::CLEAR_BUFFERS));
    }
    void set_sample_freq(double sample_freq) {
        CmdPlug::SetSampleFreq rec = {sample_freq};
        EXPECT_EQ(0, point.send(CmdPlug::SET_SAMPLE_FREQ, &rec));
    }
    static std::vector<long> make_in_arr(std::vector<long> const& out_arr) {
        std::vector<long> in_arr;
        for (long const n : out_arr) {
            in_arr.insert(in_arr.end(), 2, n);
        }
        return in_arr;
    }
    int set_pins(std::vector<long> out_arr) {
        std::vector<long> in_arr = make_in_arr(out_arr);
        long const nbr_out = static_cast<long>(out_arr.size());
        CmdPlug::SetPinConf rec = {
            {{{{0, 2 * nbr_out, in_arr.data()}, {0, nbr_out, out_arr.data()}}}, 0, 0}};
        return point.send(CmdPlug::SET_PIN_CONF, &rec);
    }
    double get_val(int index) {
        CmdPlug::GetParamVal rec = {{kryn::ParamScope_GLOBAL, 0, index}, -9};
        EXPECT_EQ(0, point.send(CmdPlug::GET_PARAM_VAL, &rec));
        return rec.val;
    }
    void process(CmdPlug::Process& block) {
        int ret = -9;
        {
            RealTimeGuard guard;
            ret = point.send(CmdPlug::PROCESS, &block);
        }
        EXPECT_EQ(0, ret);
    }

    BundleInstance bundle;
    Point point;
};

// A parameter event of the global scope.
inline kryn::PluginDsp::Event make_event(long timestamp, int index, double val_end,
                                         long ramp_len = 0, double val_beg = 0) {
    kryn::PluginDsp::Event evt = {};
    evt.type = kryn::PluginDsp::EventType_PARAM;
    evt.timestamp = timestamp;
    evt.param = {{kryn::ParamScope_GLOBAL, 0, index}, ramp_len, val_beg, val_end};
    return evt;
}

} // namespace test
