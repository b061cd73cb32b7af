#pragma once

#include <string>

namespace ulk::host {

// A change of one parameter, as the user asks for it.
struct ParamChange {
    std::string origin;   // where it was asked for, for errors
    double time = 0;      // seconds from the start
    std::string param;    // a name or an index
    std::string val;      // as typed
    double ramp_time = 0; // seconds; 0 for a jump
};

} // namespace ulk::host
