#pragma once

#include <RtAudio.h>

#include <string>
#include <vector>

namespace ulk::devices {

// A device as RtAudio knows it.
struct Found {
    RtAudio::Api api;
    unsigned id; // as long as no device comes or goes
    RtAudio::DeviceInfo info;
};

// The system's name for users.
std::string get_system_name(RtAudio::Api api);
// All that RtAudio was built for, in the order in which they are asked.
std::vector<RtAudio::Api> list_systems();

constexpr unsigned max_nbr_chn = 64; // of a device

} // namespace ulk::devices
