#include "host/PinBuffers.h"

#include <algorithm>
#include <new>
#include <numeric>

namespace ulk::host {

namespace {

// A cache line: more than the 16 bytes that plug-ins ask for, and no two channels share one.
constexpr std::size_t align = 64;
constexpr long align_spl = static_cast<long>(align / sizeof(float));

} // namespace

void PinBuffers::Deleter::operator()(float* ptr) const {
    ::operator delete[](ptr, std::align_val_t{align});
}

PinBuffers::PinBuffers(std::vector<long> const& chn_arr, long max_len)
    : _chn_arr(chn_arr)
    , _max_len(max_len) {
    long const stride = (max_len + align_spl - 1) / align_spl * align_spl;
    long const nbr_chn = std::accumulate(chn_arr.begin(), chn_arr.end(), 0L);
    std::size_t const size = static_cast<std::size_t>(stride * nbr_chn);
    _data.reset(static_cast<float*>(
        ::operator new[](std::max(size, std::size_t{1}) * sizeof(float), std::align_val_t{align})));
    std::fill_n(_data.get(), size, 0.0f);

    for (long chn = 0; chn < nbr_chn; ++chn) {
        _ptr_arr.push_back(_data.get() + chn * stride);
    }
    float** pos = _ptr_arr.data();
    for (long const pin_nbr_chn : chn_arr) {
        _pin_arr.push_back({pos, kryn::PluginDsp::State_SIGNAL});
        pos += pin_nbr_chn;
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
