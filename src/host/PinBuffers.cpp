#include "host/PinBuffers.h"

#include <algorithm>

namespace ulk::host {

PinBuffers::PinBuffers(std::vector<long> const& chn_arr, long max_len)
    : _chn_arr(chn_arr)
    , _max_len(max_len)
    , _pool(max_len) {
    for (long const nbr_chn : chn_arr) {
        auto& pin = _ptr_arr.emplace_back();
        for (long chn = 0; chn < nbr_chn; ++chn) {
            pin.push_back(_pool.take());
        }
    }
    for (auto& pin : _ptr_arr) {
        _pin_arr.push_back({pin.data(), kryn::PluginDsp::State_SIGNAL});
    }
}

void PinBuffers::set_all_states(kryn::PluginDsp::State state) {
    for (auto& pin : _pin_arr) {
        pin.state = state;
    }
}

void PinBuffers::clear_pin(long pin, long len) {
    for (long chn = 0; chn < get_nbr_chn(pin); ++chn) {
        std::fill_n(use_chn(pin, chn), len, 0.0f);
    }
    use_pin(pin).state = kryn::PluginDsp::State_CLEARED;
}

} // namespace ulk::host
