#pragma once

#include "host/Error.h"
#include "host/LostClip.h"
#include "host/live/Player.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

namespace ulk::host::live {

// What came of playing a session.
struct PlayReport {
    struct Loss {
        std::string place; // of the clip in its file
        double time;       // s of the session
        long long nbr_frames;
        bool refused_flag; // its file cannot be used
    };

    std::string session; // path
    std::string device;
    double sample_freq = 0; // Hz
    long block_len = 0;     // frames
    int nbr_chn = 0;
    double time = 0; // s of the session, where it ended
    Player::Stat stat;
    std::vector<LostClip> lost_clips; // with no sound at all
    std::vector<Loss> losses;
    long nbr_xruns = 0;
    std::optional<bool> real_time; // the callback had such a priority; none if it was never called
    std::optional<Error> failure;  // what ended it before its time

    // Something of the session was not heard as it should be.
    bool is_lossy() const;
    std::string print() const; // for people, some lines
    nlohmann::json make_json() const;
};

} // namespace ulk::host::live
