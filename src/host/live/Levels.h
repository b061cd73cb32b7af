#pragma once

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <string>

namespace ulk::host::live {

// Peaks by channel, 1 for full level; as many as a session or a take may have.
using Peaks = std::array<float, 16>;

// Peaks in dB, of the first nbr_chn channels; silence is -120 dB.
class Levels {
public:
    static std::string print(Peaks const& peaks, int nbr_chn); // of one width
    static nlohmann::json make_json(Peaks const& peaks, int nbr_chn);
};

} // namespace ulk::host::live
