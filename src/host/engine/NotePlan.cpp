#include "host/engine/NotePlan.h"

#include "host/engine/Frames.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <queue>

namespace ulk::host::engine {

namespace {

// As the voice reckons it.
constexpr double ln2_by_12 = 0.057762265046662105;
constexpr double fade_time = 0.005; // s, behind a Note Off
// Frames: no more than what rounding does to a position.
constexpr double slack = 1e-6;

} // namespace

NotePlan::NotePlan(Session const& session, std::vector<SampleFacts> const& fact_arr,
                   Settings const& settings)
    : _settings(settings)
    , _player_arr(session.track_arr.size())
    , _stereo_arr(session.track_arr.size(), false) {
    for (std::size_t track = 0; track < session.track_arr.size(); ++track) {
        Session::Track const& info = session.track_arr[track];
        std::vector<Note> note_arr;
        for (std::size_t clip = 0; clip < info.clips.size(); ++clip) {
            Session::Clip const& clip_info = info.clips[clip];
            Note note = {};
            note.track = static_cast<int>(track);
            note.clip = static_cast<int>(clip);
            if (make_note(note, clip_info, fact_arr[static_cast<std::size_t>(clip_info.sample)])) {
                bool const fold_flag = info.nbr_chn == 1 && note.nbr_chn == 2;
                note.pin = fold_flag ? 1 : 0;
                _stereo_arr[track] = _stereo_arr[track] || fold_flag;
                _end = std::max(_end, note.heard_end + settings.first - lead);
                note_arr.push_back(note);
            }
        }
        spread(std::move(note_arr), _player_arr[track]);
    }
}

bool NotePlan::make_note(Note& note, Session::Clip const& clip, SampleFacts const& facts) const {
    double const freq = _settings.sample_freq;
    double const speed = std::exp(clip.pitch * ln2_by_12);
    double const rate = speed * facts.sample_freq / freq;
    double const clip_src = clip.offset * facts.sample_freq;
    long long const at = conv_to_frames(clip.at, freq) - _settings.first;
    long long const skip = std::max(-at, 0LL);
    note.src_beg = clip_src + static_cast<double>(skip) * rate;
    if (note.src_beg >= static_cast<double>(facts.len)) {
        return false;
    }
    note.sample = clip.sample;
    note.nbr_chn = facts.nbr_chn;
    note.rate = static_cast<float>(rate);
    note.pos = note.src_beg / facts.sample_freq;
    note.spl_len = facts.len;
    note.spl_freq = facts.sample_freq;
    note.beg = at + skip;
    note.clip_beg = at + lead;
    double const len = static_cast<double>(facts.len);
    long long const src_end = at + std::llround(std::ceil((len - clip_src) / rate - slack)) + lead;
    double const nbr_out = std::ceil((len + 1 - note.src_beg) / rate);
    note.end = note.beg + std::llround(nbr_out * (1 + 2e-7)) + 4;
    note.off = Note::never;
    note.clip_end = src_end;
    note.heard_beg = note.beg + lead;
    note.heard_end = src_end;
    if (clip.length < Session::to_the_end) {
        long long const off = conv_to_frames(clip.at + clip.length, freq) - _settings.first + lead;
        if (off <= note.beg + lead) {
            return false;
        }
        if (off < src_end) {
            note.off = off;
            note.clip_end = off;
            note.heard_end = std::min(off + get_fade_len(), src_end);
            note.end = std::min(note.end, off + get_fade_len() + 2);
        }
    }
    return true;
}

long long NotePlan::get_fade_len() const {
    return std::llround(_settings.sample_freq * fade_time);
}

long NotePlan::find_nbr_cells(long cell_len, long len) const {
    std::vector<std::pair<long long, long>> step_arr; // frame, cells more from there on
    for (Players const& player_arr : _player_arr) {
        for (std::vector<Note> const& note_arr : player_arr) {
            for (Note const& note : note_arr) {
                auto const span = static_cast<long long>(static_cast<double>(len) *
                                                         static_cast<double>(note.rate));
                Note::Range const range = note.find_ahead({0, std::min(span, note.spl_len)});
                long const nbr_cells = static_cast<long>(range.end * note.nbr_chn / cell_len) + 2;
                step_arr.emplace_back(note.beg - len, nbr_cells);
                step_arr.emplace_back(note.end + len, -nbr_cells);
            }
        }
    }
    std::sort(step_arr.begin(), step_arr.end());
    long sum = 0;
    long max_sum = 0;
    for (auto const& step : step_arr) {
        sum += step.second;
        max_sum = std::max(max_sum, sum);
    }
    return max_sum;
}

// Voices are taken and given back by whole blocks, in the worst case that the notes allow.
void NotePlan::spread(std::vector<Note>&& note_arr, Players& player_arr) const {
    std::stable_sort(note_arr.begin(), note_arr.end(),
                     [](Note const& a, Note const& b) { return a.beg < b.beg; });
    using Busy = std::pair<long long, std::size_t>; // block in which it is free again, player
    std::priority_queue<Busy, std::vector<Busy>, std::greater<>> busy_queue;
    std::vector<int> count_arr; // by player
    for (Note const& note : note_arr) {
        while (!busy_queue.empty() && busy_queue.top().first <= note.beg / _settings.block_len) {
            --count_arr[busy_queue.top().second];
            busy_queue.pop();
        }
        auto const free_player = std::find_if(count_arr.begin(), count_arr.end(),
                                              [](int count) { return count < nbr_voices; });
        auto const player = static_cast<std::size_t>(free_player - count_arr.begin());
        if (free_player == count_arr.end()) {
            count_arr.push_back(0);
            player_arr.emplace_back();
        }
        ++count_arr[player];
        busy_queue.emplace(note.end / _settings.block_len + 1, player);
        player_arr[player].push_back(note);
    }
}

} // namespace ulk::host::engine
