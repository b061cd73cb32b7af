#include "ulk/dsp/AudioDataMultiChn.h"

#include <algorithm>

namespace ulk::dsp {

AudioDataMultiChn::AudioDataMultiChn(int nbr_chn)
    : _nbr_chn(nbr_chn) {}

AudioDataMultiChn::AudioDataMultiChn(AudioDataMultiChn const& other)
    : _nbr_chn(other._nbr_chn)
    , _activity(other._activity) {
    copy_chn_data(other);
}

AudioDataMultiChn& AudioDataMultiChn::operator=(AudioDataMultiChn const& other) {
    _nbr_chn = other._nbr_chn;
    _activity = other._activity;
    if (this != &other) {
        copy_chn_data(other);
    }
    return *this;
}

void AudioDataMultiChn::copy_chn_data(AudioDataMultiChn const& other) {
    std::copy_n(other._chn_arr, other._nbr_chn, _chn_arr);
}

void AudioDataMultiChn::set_nbr_chn(int nbr_chn) {
    if (nbr_chn > _nbr_chn) {
        std::fill(_chn_arr + _nbr_chn, _chn_arr + nbr_chn, nullptr);
    }
    _nbr_chn = nbr_chn;
}

void AudioDataMultiChn::set_all(int nbr_chn, float* const* chn_arr, long offset) {
    _nbr_chn = nbr_chn;
    for (int chn = 0; chn < nbr_chn; ++chn) {
        _chn_arr[chn] = chn_arr[chn] + offset;
    }
}

bool AudioDataMultiChn::is_valid() const {
    return std::find(_chn_arr, _chn_arr + _nbr_chn, nullptr) == _chn_arr + _nbr_chn;
}

} // namespace ulk::dsp
