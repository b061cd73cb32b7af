#include "ulk/sys/UtcTime.h"

#include "ulk/sys/Err.h"

#include <chrono>
#include <limits>

namespace ulk::sys {

namespace {

constexpr archi::Int64 epoch_ticks = 116444736000000000; // the first instant of 1970

} // namespace

UtcTime::UtcTime(long c_time) {
    conv_from_c_time(c_time);
}

void UtcTime::get_current_time(UtcTime& time) {
    using Ticks = std::chrono::duration<archi::Int64, std::ratio<1, _ticks_per_sec>>;
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    time.set(std::chrono::floor<Ticks>(now).count() + epoch_ticks);
}

void UtcTime::conv_from_c_time(long c_time) {
    // In unsigned arithmetic, where seconds beyond the range of the ticks wrap instead of erring.
    _ticks = static_cast<archi::Int64>(static_cast<archi::UInt64>(c_time) * _ticks_per_sec +
                                       epoch_ticks);
}

int UtcTime::conv_to_c_time(long& c_time) const {
    if (_ticks < epoch_ticks) {
        return Err_TIME_OUT_OF_C_RANGE;
    }
    archi::Int64 const sec = (_ticks - epoch_ticks) / _ticks_per_sec;
    if (sec > std::numeric_limits<archi::UInt32>::max()) {
        return Err_TIME_OUT_OF_C_RANGE;
    }
    c_time = static_cast<long>(sec);
    return 0;
}

archi::Int64 UtcTime::compute_diff_ticks(UtcTime const& other) const {
    return static_cast<archi::Int64>(static_cast<archi::UInt64>(_ticks) -
                                     static_cast<archi::UInt64>(other._ticks));
}

double UtcTime::compute_diff_s(UtcTime const& other) const {
    return static_cast<double>(compute_diff_ticks(other)) / static_cast<double>(_ticks_per_sec);
}

} // namespace ulk::sys
