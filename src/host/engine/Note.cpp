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

// A frame lies on the line between two source frames, or on one of them alone. What rounding does
// to a position is no more than the slack.
Note::Range Note::find_frames(long long a, long long b, Range const& source) const {
    constexpr double slack = 1e-4; // source frames
    double const step = static_cast<double>(rate);
    auto const find_frame = [&](double src_pos) { return (src_pos - src_beg) / step; };
    double const first = find_frame(static_cast<double>(source.beg) + slack);
    double const last = find_frame(static_cast<double>(source.end) + 1 - slack);
    auto const beg_frame = beg + static_cast<long long>(std::floor(first)) + 1;
    auto const end_frame = beg + static_cast<long long>(std::ceil(last));
    return {std::max(a, beg_frame), std::min(b, end_frame)};
}

Note::Range Note::find_ahead(Range const& range) const {
    double const lookahead = static_cast<double>(rate) * spl_freq; // as the voice reckons it
    long long const ahead_end = range.end + static_cast<long long>(lookahead) + 2 * voice_grain;
    return {range.beg, std::min(ahead_end, spl_len)};
}

} // namespace ulk::host::engine
