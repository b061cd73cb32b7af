#pragma once

#include <vector>

namespace ulk::host {

// Pin configuration of an instance: the channel count of each audio pin, by direction.
struct PinConf {
    std::vector<long> in;
    std::vector<long> out;

    bool operator==(PinConf const& other) const = default;
};

} // namespace ulk::host
