#include "host/engine/CurveLine.h"

#include "host/engine/Frames.h"

#include <algorithm>

namespace ulk::host::engine {

CurveLine CurveLine::find(session::Session::Curve const& points, double sample_freq,
                          long long pos) {
    auto const get_frame = [sample_freq](session::Session::Point const& point) {
        return conv_to_frames(point.time, sample_freq);
    };
    auto const next = std::upper_bound(
        points.begin(), points.end(), pos,
        [&](long long frame, auto const& point) { return frame < get_frame(point); });
    if (next == points.begin()) {
        return {-far_pos, get_frame(*next), next->val, next->val};
    }
    auto const& last = *(next - 1);
    if (next == points.end()) {
        return {get_frame(last), far_pos, last.val, last.val};
    }
    return {get_frame(last), get_frame(*next), last.val, next->val};
}

long long CurveLine::find_zero() const {
    if (val_beg * val_end >= 0) {
        return far_pos;
    }
    return beg +
           static_cast<long long>(val_beg / (val_beg - val_end) * static_cast<double>(end - beg));
}

double CurveLine::find_val(long long pos) const {
    if (is_constant()) {
        return val_beg;
    }
    return val_beg +
           (val_end - val_beg) * static_cast<double>(pos - beg) / static_cast<double>(end - beg);
}

} // namespace ulk::host::engine
