#include "host/session/TempoMap.h"

#include <algorithm>
#include <cmath>

namespace ulk::host::session {

namespace {

constexpr double tolerance = 1e-6; // beats; below a frame at any tempo, above rounding errors

// The last of the parts that begins at val or before it, and the first one for what lies before.
template <class Part, class Val>
Part const& find_part(std::vector<Part> const& part_arr, Val Part::*member, Val val) {
    auto const it =
        std::upper_bound(part_arr.begin() + 1, part_arr.end(), val,
                         [member](Val v, Part const& part) { return v < part.*member; });
    return *(it - 1);
}

} // namespace

TempoMap::TempoMap(double bpm, int nbr_beats)
    : _part_arr{{0, 0, bpm, nbr_beats, 1, 0}} {}

void TempoMap::add_change(double beat, double bpm, int nbr_beats) {
    Part part = _part_arr.back();
    if (is_bar_start(beat)) {
        part.bar = find_bar_of(beat);
        part.bar_beat = beat;
        part.nbr_beats = nbr_beats;
    }
    part.time = conv_beat_to_time(beat);
    part.beat = beat;
    part.bpm = bpm;
    _part_arr.push_back(part);
}

double TempoMap::conv_beat_to_time(double beat) const {
    Part const& part = find_part(_part_arr, &Part::beat, beat);
    return part.time + (beat - part.beat) * 60 / part.bpm;
}

double TempoMap::conv_time_to_beat(double time) const {
    Part const& part = find_part(_part_arr, &Part::time, time);
    return part.beat + (time - part.time) * part.bpm / 60;
}

double TempoMap::find_bar(long long bar) const {
    Part const& part = find_part(_part_arr, &Part::bar, bar);
    return part.bar_beat + static_cast<double>(bar - part.bar) * part.nbr_beats;
}

int TempoMap::get_nbr_beats(long long bar) const {
    return find_part(_part_arr, &Part::bar, bar).nbr_beats;
}

double TempoMap::add_length(double beat, long long nbr_bars, double nbr_beats) const {
    long long const bar = find_bar_of(beat);
    return find_bar(bar + nbr_bars) + (beat - find_bar(bar)) + nbr_beats;
}

long long TempoMap::find_bar_of(double beat) const {
    Part const& part = find_part(_part_arr, &Part::beat, beat + tolerance);
    double const nbr_bars = (beat + tolerance - part.bar_beat) / part.nbr_beats;
    return part.bar + static_cast<long long>(std::floor(nbr_bars));
}

bool TempoMap::is_bar_start(double beat) const {
    return std::abs(beat - find_bar(find_bar_of(beat))) <= tolerance;
}

} // namespace ulk::host::session
