#pragma once

#include "host/ChannelPool.h"
#include "ulk/kryn/PluginDsp.h"

#include <vector>

namespace ulk::host {

// The sample buffers of all pins of one direction, each channel aligned and cleared at the start,
// with the array of PinData that PROCESS takes.
class PinBuffers {
public:
    // chn_arr: channel count of each pin; max_len: longest block, in frames.
    PinBuffers(std::vector<long> const& chn_arr, long max_len);

    PinBuffers(PinBuffers const&) = delete;
    PinBuffers& operator=(PinBuffers const&) = delete;

    long get_nbr_pins() const { return static_cast<long>(_pin_arr.size()); }
    long get_nbr_chn(long pin) const { return _chn_arr[static_cast<std::size_t>(pin)]; }
    long get_max_len() const { return _max_len; }

    // real-time
    kryn::PluginDsp::PinData& use_pin(long pin) { return _pin_arr[static_cast<std::size_t>(pin)]; }
    kryn::PluginDsp::PinData const& use_pin(long pin) const {
        return _pin_arr[static_cast<std::size_t>(pin)];
    }
    float* use_chn(long pin, long chn) { return use_pin(pin).chn_arr[chn]; }
    kryn::PluginDsp::ProcessInfoPort use_port() { return {_pin_arr.data()}; }
    void set_all_states(kryn::PluginDsp::State state);
    void clear_pin(long pin, long len); // zeros in all channels, state 1

private:
    std::vector<long> _chn_arr;
    long _max_len;
    ChannelPool _pool;
    std::vector<std::vector<float*>> _ptr_arr; // by pin
    std::vector<kryn::PluginDsp::PinData> _pin_arr;
};

} // namespace ulk::host
