#pragma once

#include <string>

namespace ulk::host {

// A clip of a session that never sounds, as reports tell it.
struct LostClip {
    std::string track;
    std::string place; // where it is asked for
    double time = 0;   // s
    std::string reason;
};

} // namespace ulk::host
