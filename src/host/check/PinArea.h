#pragma once

#include "host/check/GuardedArray.h"
#include "ulk/kryn/PluginDsp.h"

#include <vector>

namespace ulk::host::check {

// The buffers of the pins of one direction, with guards round each channel, and a copy of what a
// block found in them.
class PinArea {
public:
    // chn_arr: channel count of each pin; max_len: longest block, in frames.
    PinArea(std::vector<long> const& chn_arr, long max_len);

    PinArea(PinArea const&) = delete;
    PinArea& operator=(PinArea const&) = delete;

    long get_nbr_pins() const { return static_cast<long>(_pin_list.size()); }
    long get_nbr_chn(long pin) const { return static_cast<long>(use(pin).chn_list.size()); }
    kryn::PluginDsp::ProcessInfoPort use_port() { return {_data_list.data()}; }

    long get_state(long pin) const { return _data_list[to_pos(pin)].state; }
    long get_state_before(long pin) const { return use(pin).state; }
    void set_state(long pin, long state) { _data_list[to_pos(pin)].state = state; }

    float* use_chn(long pin, long chn) { return use(pin).chn_list[to_pos(chn)].area.data(); }
    float const* use_chn(long pin, long chn) const {
        return use(pin).chn_list[to_pos(chn)].area.data();
    }
    void fill(long pin, float val);
    // What nobody has written: no number, and none that comes of reckoning.
    static float get_unwritten();
    static bool is_unwritten(float val);

    // Keeps what stands there for the questions below, and sets the addresses right.
    void keep();
    bool are_addresses_same(long pin) const; // of the channels
    bool are_guards_intact(long pin) const;
    bool is_same(long pin, long beg, long end) const; // these frames of all channels
    long get_max_len() const { return _max_len; }

private:
    struct Chn {
        GuardedArray<float> area;
        std::vector<float> copy;
    };
    struct Pin {
        std::vector<Chn> chn_list;
        std::vector<float*> ptr_list;
        long state;
    };

    static std::size_t to_pos(long index) { return static_cast<std::size_t>(index); }
    Pin& use(long pin) { return _pin_list[to_pos(pin)]; }
    Pin const& use(long pin) const { return _pin_list[to_pos(pin)]; }

    long _max_len;
    std::vector<Pin> _pin_list;
    std::vector<kryn::PluginDsp::PinData> _data_list;
};

} // namespace ulk::host::check
