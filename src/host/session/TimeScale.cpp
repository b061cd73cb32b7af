#include "host/session/TimeScale.h"

#include <algorithm>

namespace ulk::host::session {

std::optional<double> TimeScale::conv(TimeText const& time, TimeOrigin const& origin) const {
    if (time.unit != TimeText::Unit::BAR) {
        return time.unit == TimeText::Unit::FRAME ? time.val / sample_freq : time.val;
    }
    double const nbr_beats = static_cast<double>(time.beat) + time.val;
    if (origin.length_flag) {
        double const beg = tempo_map.conv_time_to_beat(origin.beg);
        double const end = tempo_map.add_length(beg, time.bar, nbr_beats);
        return std::max(tempo_map.conv_beat_to_time(end) - origin.beg, 0.0);
    }
    if (time.bar < 1 || time.beat < 1 || time.beat > tempo_map.get_nbr_beats(time.bar)) {
        return std::nullopt;
    }
    return tempo_map.conv_beat_to_time(tempo_map.find_bar(time.bar) + nbr_beats - 1);
}

} // namespace ulk::host::session
