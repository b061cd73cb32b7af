#include "host/render/TimeAxis.h"

#include "host/render/TimeText.h"

#include <algorithm>
#include <cmath>

namespace ulk::host::render {

namespace {

// The smallest round step that is not below step (s): 1, 2 or 5 in a decade below a minute, and
// what clocks count in above.
double round_up(double step) {
    for (double const round : {60., 120., 300., 600., 900., 1800., 3600., 7200., 10800., 21600.}) {
        if (step > 30 && step <= round) {
            return round;
        }
    }
    double const unit = step > 30 ? 86400 : step > 10 ? 15 : 1;
    if (step > 10 && step <= 30) {
        return std::ceil(step / unit) * unit;
    }
    double const decade = std::pow(10, std::floor(std::log10(step / unit)));
    for (double const digit : {1., 2., 5.}) {
        if (step <= digit * decade * unit * (1 + 1e-9)) {
            return digit * decade * unit;
        }
    }
    return 10 * decade * unit;
}

} // namespace

std::vector<TimeAxis::Mark> TimeAxis::make_marks(double duration, int max_nbr) {
    constexpr double min_duration = 1e-6;
    double const step = round_up(std::max(duration, min_duration) / (max_nbr - 1));
    int const nbr_decimals = std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
    std::vector<Mark> marks;
    for (int k = 0; k * step <= duration * (1 + 1e-9); ++k) {
        marks.push_back({k * step, TimeText::print(k * step, nbr_decimals)});
    }
    return marks;
}

} // namespace ulk::host::render
