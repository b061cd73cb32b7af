#pragma once

#include "host/session/Session.h"

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <string>

namespace ulk::host::live {

// Channels that live sound may have: those of a session, and so of a take.
constexpr int max_nbr_chn = session::Session::max_nbr_chn;

// Peaks by channel, 1 for full level.
using Peaks = std::array<float, max_nbr_chn>;

// Peaks of the first nbr_chn channels; printed in dB, where silence is -120.
class Levels {
public:
    // Takes in the next len frames, a buffer a channel. real-time
    static void add(Peaks& peaks, float const* const* chn_arr, int nbr_chn, long len);
    // Takes in other peaks. real-time
    static void add(Peaks& peaks, Peaks const& other);
    static std::string print(Peaks const& peaks, int nbr_chn); // of one width
    static nlohmann::json make_json(Peaks const& peaks, int nbr_chn);
};

} // namespace ulk::host::live
