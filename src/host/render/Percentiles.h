#pragma once

#include <array>
#include <cstdint>

namespace ulk::host::render {

// How times are spread, in fixed memory: a histogram whose steps grow with the time, so that what
// it tells is right within 1 %. Times are in nanoseconds, up to 2^63.
class Percentiles {
public:
    void add(std::int64_t ns); // below 0 counts as 0; real-time
    void add(Percentiles const& other);

    // The time that the fraction ratio (0 to 1) of all does not exceed; 0 when there is none.
    double find(double ratio) const;

    // How many were below ns, which is 125 times a power of 2, or less than 128.
    std::int64_t count_below(std::int64_t ns) const;

    std::int64_t get_max() const { return _max; } // exact
    std::int64_t get_count() const { return _count; }

private:
    static constexpr int _step_bits = 6; // steps of an octave
    static constexpr std::size_t _nbr_steps = std::size_t{1} << _step_bits;

    static std::size_t find_index(std::uint64_t ns);
    static double get_middle(std::size_t index);

    std::array<std::int64_t, (64 - _step_bits) * _nbr_steps> _count_arr{};
    std::int64_t _count = 0;
    std::int64_t _max = 0;
};

} // namespace ulk::host::render
