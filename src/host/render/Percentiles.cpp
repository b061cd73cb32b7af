#include "host/render/Percentiles.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>

namespace ulk::host::render {

void Percentiles::add(std::int64_t ns) {
    std::int64_t const val = std::max<std::int64_t>(ns, 0);
    ++_count_arr[find_index(static_cast<std::uint64_t>(val))];
    ++_count;
    _max = std::max(_max, val);
}

void Percentiles::add(Percentiles const& other) {
    for (std::size_t index = 0; index < _count_arr.size(); ++index) {
        _count_arr[index] += other._count_arr[index];
    }
    _count += other._count;
    _max = std::max(_max, other._max);
}

double Percentiles::find(double ratio) const {
    if (_count == 0) {
        return 0;
    }
    auto const rank = std::max(1LL, std::llround(std::ceil(ratio * static_cast<double>(_count))));
    std::int64_t sum = 0;
    std::size_t index = 0;
    for (; index < _count_arr.size() - 1; ++index) {
        sum += _count_arr[index];
        if (sum >= rank) {
            break;
        }
    }
    return std::min(get_middle(index), static_cast<double>(_max));
}

std::int64_t Percentiles::count_below(std::int64_t ns) const {
    std::size_t const end = find_index(static_cast<std::uint64_t>(ns));
    return std::accumulate(_count_arr.begin(), _count_arr.begin() + static_cast<long>(end),
                           std::int64_t{0});
}

// The highest bits of the time below the first octaves, which have a step for each time.
std::size_t Percentiles::find_index(std::uint64_t ns) {
    int const shift = std::max(0, static_cast<int>(std::bit_width(ns)) - _step_bits - 1);
    return static_cast<std::size_t>(shift) * _nbr_steps + static_cast<std::size_t>(ns >> shift);
}

double Percentiles::get_middle(std::size_t index) {
    if (index < 2 * _nbr_steps) {
        return static_cast<double>(index);
    }
    std::size_t const shift = index / _nbr_steps - 1;
    double const width = std::ldexp(1, static_cast<int>(shift));
    return static_cast<double>(index - shift * _nbr_steps) * width + (width - 1) / 2;
}

} // namespace ulk::host::render
