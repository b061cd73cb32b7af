#include "host/render/WaveText.h"

#include "host/render/TimeAxis.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ulk::host::render {

namespace {

constexpr int nbr_rows = 4;
constexpr double db_per_row = 12;
constexpr int steps_per_row = 8;
constexpr int scale_len = 8; // characters left of the bars

// Steps of a bar above the lowest level.
int count_steps(float level) {
    double const db = 20 * std::log10(static_cast<double>(level));
    double const ratio = db / (nbr_rows * db_per_row) + 1;
    return static_cast<int>(std::ceil(std::clamp(ratio, 0., 1.) * nbr_rows * steps_per_row - 1e-6));
}

char const* get_cell(int nbr_steps, bool utf8_flag) {
    static char const* const block_arr[] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
    int const step = std::clamp(nbr_steps, 0, steps_per_row);
    return utf8_flag ? block_arr[step] : step >= steps_per_row / 2 ? "#" : step > 0 ? "." : " ";
}

void append_trimmed(std::string& txt, std::string row) {
    row.erase(row.find_last_not_of(' ') + 1);
    txt += row + "\n";
}

std::string print_channel(std::vector<Envelope::Column> const& columns, bool utf8_flag) {
    std::string txt;
    for (int row = 0; row < nbr_rows; ++row) {
        char scale[32];
        std::snprintf(scale, sizeof(scale), "%4.0f dB ", -row * db_per_row);
        std::string line(row == 0 ? "   0 dB " : scale);
        for (auto const& column : columns) {
            int const base = (nbr_rows - 1 - row) * steps_per_row;
            line += get_cell(count_steps(column.get_peak()) - base, utf8_flag);
        }
        append_trimmed(txt, line);
    }
    return txt;
}

std::string print_axis(double duration, int nbr_columns) {
    std::string line;
    for (auto const& mark : TimeAxis::make_marks(duration, std::max(2, nbr_columns / 10))) {
        auto const pos = static_cast<std::size_t>(mark.time / std::max(duration, 1e-9) *
                                                  std::max(nbr_columns - 1, 0)) +
                         scale_len;
        // A label that does not fit is left out.
        if (pos >= line.size() &&
            pos + mark.label.size() <= static_cast<std::size_t>(scale_len + nbr_columns + 4)) {
            line.resize(pos, ' ');
            line += mark.label;
        }
    }
    return line;
}

} // namespace

std::string WaveText::print(Envelope const& envelope, int width, bool utf8_flag) {
    int const nbr_columns = std::max(width, 20) - scale_len;
    std::string txt;
    for (int chn = 0; chn < envelope.get_nbr_chn(); ++chn) {
        txt += print_channel(envelope.join_columns(chn, nbr_columns), utf8_flag);
    }
    int const nbr_drawn = std::min(nbr_columns, envelope.get_nbr_columns());
    append_trimmed(txt, print_axis(envelope.get_duration(), nbr_drawn));
    return txt;
}

} // namespace ulk::host::render
