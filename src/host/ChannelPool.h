#pragma once

#include <memory>
#include <vector>

namespace ulk::host {

// Sample buffers of one length, aligned to cache lines, handed out and taken back. Control side.
class ChannelPool {
public:
    explicit ChannelPool(long max_len); // frames

    float* take(); // cleared when new, as it was left otherwise; lives as long as the pool
    void give_back(float* channel) { _free_arr.push_back(channel); }

    long get_nbr_channels() const { return static_cast<long>(_channel_arr.size()); }

private:
    struct Deleter {
        void operator()(float* ptr) const;
    };

    long _max_len;
    std::vector<std::unique_ptr<float[], Deleter>> _channel_arr;
    std::vector<float*> _free_arr;
};

} // namespace ulk::host
