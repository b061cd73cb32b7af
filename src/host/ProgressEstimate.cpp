#include "host/ProgressEstimate.h"

#include <algorithm>
#include <cmath>

namespace ulk::host {

namespace {

constexpr double memory = 5; // s, after which a speed counts for a third

} // namespace

void ProgressEstimate::update(long long done, long long total, double elapsed) {
    double const step = static_cast<double>(done) - _done;
    double const time = elapsed - _elapsed;
    if (time > 0) {
        // Up to the length of the memory, the speed is the mean since the start.
        double const weight = std::max(1 - std::exp(-time / memory), std::min(time / elapsed, 1.0));
        _speed += (step / time - _speed) * weight;
        _elapsed = elapsed;
        _done = static_cast<double>(done);
    }
    _total = static_cast<double>(total);
}

std::optional<double> ProgressEstimate::get_left() const {
    if (_speed <= 0) {
        return std::nullopt;
    }
    return std::max(0.0, (_total - _done) / _speed);
}

} // namespace ulk::host
