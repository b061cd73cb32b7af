#include "host/live/PassTimes.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>

namespace ulk::host::live {

namespace {

using render::Percentiles;

// A step of a histogram: callbacks that took longer than the half of it, or all that lie below.
struct Step {
    std::int64_t end; // ns
    std::int64_t count;
};

// From a microsecond on in octaves, as far as there are any.
std::vector<Step> list_steps(Percentiles const& times) {
    std::vector<Step> step_arr;
    std::int64_t done = 0;
    for (std::int64_t end = 1000; done < times.get_count(); end *= 2) {
        std::int64_t const sum = times.count_below(end);
        step_arr.push_back({end, sum - done});
        done = sum;
    }
    return step_arr;
}

std::string print_percentiles(Percentiles const& times) {
    std::array<char, 256> buf;
    std::snprintf(buf.data(), buf.size(),
                  "half within %.1f us, 99 %% %.1f us, 99.9 %% %.1f us, all %.1f us",
                  times.find(0.5) * 1e-3, times.find(0.99) * 1e-3, times.find(0.999) * 1e-3,
                  static_cast<double>(times.get_max()) * 1e-3);
    return buf.data();
}

std::string print_histogram(Percentiles const& times) {
    std::string txt;
    for (Step const& step : list_steps(times)) {
        std::array<char, 100> buf;
        std::snprintf(buf.data(), buf.size(), "  %12lld us %12lld\n",
                      static_cast<long long>(step.end / 1000), static_cast<long long>(step.count));
        txt += step.count > 0 ? buf.data() : "";
    }
    return txt;
}

nlohmann::json make_times(Percentiles const& times) {
    auto histogram = nlohmann::json::array();
    for (Step const& step : list_steps(times)) {
        histogram.push_back({{"below_us", step.end / 1000}, {"blocks", step.count}});
    }
    return {{"p50_us", times.find(0.5) * 1e-3},
            {"p90_us", times.find(0.9) * 1e-3},
            {"p99_us", times.find(0.99) * 1e-3},
            {"p99.9_us", times.find(0.999) * 1e-3},
            {"max_us", static_cast<double>(times.get_max()) * 1e-3},
            {"histogram", histogram}};
}

} // namespace

std::string PassTimes::print() const {
    return "  blocks    " + print_percentiles(works) + "\n  waits     " + print_percentiles(waits) +
           "; " + std::to_string(nbr_long_waits) + " over a tenth of a block\n" +
           "  waits below, in blocks\n" + print_histogram(waits);
}

void PassTimes::write(nlohmann::json& json) const {
    json["waits"] = make_times(waits);
    json["block_times"] = make_times(works);
    json["long_waits"] = nbr_long_waits;
}

} // namespace ulk::host::live
