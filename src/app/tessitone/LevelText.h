#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>

namespace tessitone {

// The meters of a line on the screen.
class LevelText {
public:
    // peaks: by channel, 1 for full level. In dB, of one width.
    static std::string print(std::array<float, 16> const& peaks, int nbr_chn) {
        std::string txt;
        for (int chn = 0; chn < nbr_chn; ++chn) {
            auto const peak = static_cast<double>(peaks[static_cast<std::size_t>(chn)]);
            std::array<char, 16> buf;
            std::snprintf(buf.data(), buf.size(), " %6.1f", 20 * std::log10(std::max(peak, 1e-6)));
            txt += buf.data();
        }
        return txt + " dB";
    }
};

} // namespace tessitone
