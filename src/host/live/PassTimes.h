#pragma once

#include "host/render/Percentiles.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace ulk::host::live {

// How long the callbacks of a device waited for the cache's lock, and how long they took in all.
struct PassTimes {
    render::Percentiles waits;    // ns
    render::Percentiles works;    // ns
    long long nbr_long_waits = 0; // over a tenth of a block

    std::string print() const; // for people, some lines
    // Adds its fields.
    void write(nlohmann::json& json) const;
};

} // namespace ulk::host::live
