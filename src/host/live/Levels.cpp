#include "host/live/Levels.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ulk::host::live {

namespace {

double conv_to_db(float peak) {
    return 20 * std::log10(std::max(static_cast<double>(peak), 1e-6));
}

} // namespace

void Levels::add(Peaks& peaks, float const* const* chn_arr, int nbr_chn, long len) {
    for (int chn = 0; chn < nbr_chn; ++chn) {
        float& peak = peaks[static_cast<std::size_t>(chn)];
        for (long pos = 0; pos < len; ++pos) {
            peak = std::max(peak, std::fabs(chn_arr[chn][pos]));
        }
    }
}

void Levels::add(Peaks& peaks, Peaks const& other) {
    std::transform(peaks.begin(), peaks.end(), other.begin(), peaks.begin(),
                   [](float lhs, float rhs) { return std::max(lhs, rhs); });
}

std::string Levels::print(Peaks const& peaks, int nbr_chn) {
    std::string txt;
    for (int chn = 0; chn < nbr_chn; ++chn) {
        std::array<char, 16> buf;
        std::snprintf(buf.data(), buf.size(), " %6.1f",
                      conv_to_db(peaks[static_cast<std::size_t>(chn)]));
        txt += buf.data();
    }
    return txt + " dB";
}

nlohmann::json Levels::make_json(Peaks const& peaks, int nbr_chn) {
    auto json = nlohmann::json::array();
    for (int chn = 0; chn < nbr_chn; ++chn) {
        json.push_back(conv_to_db(peaks[static_cast<std::size_t>(chn)]));
    }
    return json;
}

} // namespace ulk::host::live
