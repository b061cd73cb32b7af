#pragma once

#include <cstdint>
#include <random>

namespace ulk::host::check {

// Random choices that a seed determines, on every system alike.
class Dice {
public:
    explicit Dice(std::uint64_t seed)
        : _engine(seed) {}

    // 0 to nbr - 1; nbr is 1 or more.
    long roll(long nbr) { return static_cast<long>(_engine() % static_cast<std::uint64_t>(nbr)); }
    // lo to hi, both included.
    long roll(long lo, long hi) { return lo + roll(hi - lo + 1); }
    bool has_luck(int percent) { return roll(100) < percent; }
    double roll_unit() { return static_cast<double>(_engine() >> 11) * 0x1p-53; } // 0 to below 1

    template <class List>
    auto const& pick(List const& list) {
        return *(std::begin(list) + roll(static_cast<long>(std::size(list))));
    }

private:
    std::mt19937_64 _engine;
};

} // namespace ulk::host::check
