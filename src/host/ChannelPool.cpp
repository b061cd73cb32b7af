#include "host/ChannelPool.h"

#include <algorithm>
#include <new>

namespace ulk::host {

namespace {

// A cache line: more than the 16 bytes that plug-ins ask for, and no two channels share one.
constexpr std::align_val_t align{64};

} // namespace

void ChannelPool::Deleter::operator()(float* ptr) const {
    ::operator delete[](ptr, align);
}

ChannelPool::ChannelPool(long max_len)
    : _max_len(std::max(max_len, 1L)) {}

float* ChannelPool::take() {
    if (!_free_arr.empty()) {
        float* const channel = _free_arr.back();
        _free_arr.pop_back();
        return channel;
    }
    std::size_t const len = static_cast<std::size_t>(_max_len);
    _channel_arr.emplace_back(static_cast<float*>(::operator new[](len * sizeof(float), align)));
    std::fill_n(_channel_arr.back().get(), len, 0.0f);
    return _channel_arr.back().get();
}

} // namespace ulk::host
