#pragma once

#include <optional>

namespace ulk::host {

// How long work will go on, by the speed it had of late: later parts may be harder than the first
// ones, and a pause shall not count for ever.
class ProgressEstimate {
public:
    // done of total, elapsed seconds after the start; calls come in order.
    void update(long long done, long long total, double elapsed);

    // Seconds; nothing as long as there was no progress to go by.
    std::optional<double> get_left() const;

private:
    double _done = 0;
    double _total = 0;
    double _elapsed = 0;
    double _speed = 0; // per second
};

} // namespace ulk::host
