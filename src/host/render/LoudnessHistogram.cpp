#include "host/render/LoudnessHistogram.h"

#include <algorithm>
#include <cmath>

namespace ulk::host::render {

namespace {

constexpr double min_lufs = -70;
constexpr double max_lufs = 60; // what is louder counts in the last bin
constexpr double bins_per_lu = 100;
constexpr double offset = -0.691; // LUFS of an energy of 1

} // namespace

LoudnessHistogram::LoudnessHistogram()
    : _bin_arr(static_cast<std::size_t>((max_lufs - min_lufs) * bins_per_lu)) {}

void LoudnessHistogram::add(double energy) {
    double const pos = (conv_to_lufs(energy) - min_lufs) * bins_per_lu;
    if (pos >= 0) {
        auto const last = static_cast<double>(_bin_arr.size() - 1);
        Bin& bin = _bin_arr[static_cast<std::size_t>(std::min(pos, last))];
        ++bin.count;
        bin.sum += energy;
    }
}

double LoudnessHistogram::compute_gated_mean(double gate) const {
    Bin const total = sum_up(find_gate(gate));
    return total.count > 0 ? total.sum / static_cast<double>(total.count) : 0;
}

double LoudnessHistogram::compute_gated_quantile(double gate, double ratio) const {
    std::size_t index = find_gate(gate);
    auto const count = sum_up(index).count;
    if (count == 0) {
        return 0;
    }
    auto rank = std::llround(static_cast<double>(count - 1) * ratio);
    while (rank >= _bin_arr[index].count) {
        rank -= _bin_arr[index].count;
        ++index;
    }
    return _bin_arr[index].sum / static_cast<double>(_bin_arr[index].count);
}

double LoudnessHistogram::conv_to_lufs(double energy) {
    return offset + 10 * std::log10(energy);
}

double LoudnessHistogram::conv_to_energy(double lufs) {
    return std::pow(10, (lufs - offset) / 10);
}

LoudnessHistogram::Bin LoudnessHistogram::sum_up(std::size_t beg) const {
    Bin total;
    for (std::size_t index = beg; index < _bin_arr.size(); ++index) {
        total.count += _bin_arr[index].count;
        total.sum += _bin_arr[index].sum;
    }
    return total;
}

// The first bin whose entries are, in their mean, above the gate.
std::size_t LoudnessHistogram::find_gate(double gate) const {
    Bin const total = sum_up(0);
    if (total.count == 0) {
        return 0;
    }
    double const limit = total.sum / static_cast<double>(total.count) * std::pow(10, -gate / 10);
    auto const pos = std::find_if(_bin_arr.begin(), _bin_arr.end(), [limit](Bin const& bin) {
        return bin.count > 0 && bin.sum >= limit * static_cast<double>(bin.count);
    });
    return static_cast<std::size_t>(pos - _bin_arr.begin());
}

} // namespace ulk::host::render
