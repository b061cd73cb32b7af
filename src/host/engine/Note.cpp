#include "host/engine/Note.h"

#include <algorithm>
#include <cmath>

namespace ulk::host::engine {

// The sum of the reader's single-precision steps strays by a part in ten million at most.
Note::Range Note::find_range(long long a, long long b) const {
    double const step = static_cast<double>(rate);
    double const first = src_beg + static_cast<double>(a - beg) * step;
    double const last = src_beg + static_cast<double>(b - beg) * step;
    double const slack = 4 + static_cast<double>(b - beg) * step * 2e-7;
    auto const clip_pos = [this](double src_pos) {
        return std::clamp(static_cast<long long>(src_pos), 0LL, spl_len);
    };
    return {clip_pos(first - slack), clip_pos(last + slack)};
}

Note::Range Note::find_ahead(Range const& range) const {
    double const lookahead = static_cast<double>(rate) * spl_freq; // as the voice reckons it
    long long const ahead_end = range.end + static_cast<long long>(lookahead) + 2 * voice_grain;
    return {range.beg, std::min(ahead_end, spl_len)};
}

} // namespace ulk::host::engine
