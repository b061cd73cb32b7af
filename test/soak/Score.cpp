#include "soak/Score.h"

#include <algorithm>
#include <cmath>

namespace soak {

namespace {

double conv_time(long long frames) {
    return static_cast<double>(frames) / Material::freq;
}

} // namespace

Score::Score(Material const& material, unsigned seed)
    : _rng(seed) {
    constexpr int nbr_chn_arr[] = {1, 2, 2, 4, Material::max_chn};
    _session.nbr_chn = nbr_chn_arr[draw(0, 4)];
    _event_arr.resize(static_cast<std::size_t>(_session.nbr_chn));
    if (draw(0, 1) == 0) { // a bus, for all others
        _session.track_arr.emplace_back();
        _session.track_arr.back().name = "bus";
        _session.track_arr.back().nbr_chn = _session.nbr_chn;
    }
    long long const len = draw(3, 60) * static_cast<long long>(Material::freq);
    for (int chn = 0; chn < _session.nbr_chn; ++chn) {
        fill_channel(chn, material, len);
    }
}

// One channel goes to all of a track with many, and with a pan to one of two.
std::vector<Sample const*> Score::list_samples(int chn, Material const& material) const {
    auto list = material.list(chn, _session.nbr_chn == 1 ? 1 : 2,
                              _session.nbr_chn <= 2 ? _session.nbr_chn : Material::max_chn);
    if (_session.nbr_chn == 2) {
        auto const mono = material.list(0, 1, 1);
        list.insert(list.end(), mono.begin(), mono.end());
    }
    return list;
}

int Score::add_track(int chn) {
    Session::Track track;
    track.name = std::to_string(_session.track_arr.size());
    int const most = _session.nbr_chn;
    track.nbr_chn = most == 1 ? 1 : static_cast<int>(draw(std::max(chn + 1, 2), most));
    bool const bus_flag = !_session.track_arr.empty() && _session.track_arr[0].name == "bus";
    track.output = bus_flag ? 0 : Session::master;
    _session.track_arr.push_back(track);
    return static_cast<int>(_session.track_arr.size()) - 1;
}

int Score::add_sample(Sample const& sample) {
    auto const known =
        std::find_if(_session.sample_arr.begin(), _session.sample_arr.end(),
                     [&](Session::Sample const& entry) { return entry.path == sample.path; });
    if (known == _session.sample_arr.end()) {
        _session.sample_arr.push_back({sample.path, {}});
        _fact_arr.push_back(sample.facts);
        return static_cast<int>(_session.sample_arr.size()) - 1;
    }
    return static_cast<int>(known - _session.sample_arr.begin());
}

void Score::fill_channel(int chn, Material const& material, long long len) {
    auto const sample_list = list_samples(chn, material);
    int const track_arr[] = {add_track(chn), add_track(chn)};
    long long const max_gap = draw(0, 3) == 0 ? 96000 : 6000;
    for (long long at = draw(0, 24000); at < len;) {
        auto const pick = draw(0, static_cast<long long>(sample_list.size()) - 1);
        Event event = make_event(*sample_list[static_cast<std::size_t>(pick)], at);
        event.track = track_arr[draw(0, 1)];
        add_clip(chn, event);
        at = event.end() + draw(16, max_gap);
    }
}

Score::Event Score::make_event(Sample const& sample, long long at) {
    constexpr long long margin = 2000; // that is left, with room for fades
    long long const rest = sample.facts.len;
    Event event = {0, 0, &sample, at, rest, 0, 1, false};
    if (draw(0, 1) == 0) {
        event.offset = draw(1, rest - 2 * margin);
        event.len = rest - event.offset;
    }
    if (draw(0, 1) == 0) {
        event.len = draw(margin / 2, event.len - margin / 2);
        event.released_flag = true;
    }
    return event;
}

void Score::add_clip(int chn, Event& event) {
    auto& clips = _session.track_arr[static_cast<std::size_t>(event.track)].clips;
    event.clip = static_cast<int>(clips.size());
    Session::Clip clip;
    clip.sample = add_sample(*event.sample);
    clip.at = conv_time(event.at);
    clip.offset = conv_time(event.offset);
    clip.length = event.released_flag ? conv_time(event.len) : Session::to_the_end;
    clip.gain = -6 * static_cast<double>(draw(0, 2));
    event.gain = std::pow(10.0, clip.gain / 20);
    if (_session.nbr_chn == 2 && event.sample->facts.nbr_chn == 1) {
        clip.pan = {{0, chn == 0 ? -1.0 : 1.0}};
        event.gain *= 2;
    }
    clips.push_back(clip);
    _event_arr[static_cast<std::size_t>(chn)].push_back(event);
}

Score::Frame Score::find(int chn, long long pos) const {
    auto const& list = use_events(chn);
    auto const next =
        std::upper_bound(list.begin(), list.end(), pos,
                         [](long long val, Event const& event) { return val < event.at; });
    if (next == list.begin() || pos >= std::prev(next)->end()) {
        return {};
    }
    Event const& event = *std::prev(next);
    long long const own = pos - event.at;
    double const val = static_cast<double>(event.sample->get(event.offset + own)) * event.gain;
    return {&event, val, (event.offset > 0 && own < fade_len) || own >= event.len};
}

} // namespace soak
