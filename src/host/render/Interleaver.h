#pragma once

#include <vector>

namespace ulk::host::render {

// Turns blocks of one buffer a channel into frames.
class Interleaver {
public:
    Interleaver(int nbr_chn, long max_len);

    // len (up to max_len) frames, which stay until the next call. real-time
    float const* run(float const* const* chn_arr, long len);

    int get_nbr_chn() const { return _nbr_chn; }

private:
    int _nbr_chn;
    std::vector<float> _frames;
};

} // namespace ulk::host::render
