#include "host/engine/NotePlayer.h"

#include "host/engine/CurveLine.h"

#include "host/engine/Frames.h"
#include "host/engine/NotePlan.h"

#include <algorithm>
#include <cmath>

namespace ulk::host::engine {

namespace {

// The note parameters of the sample player, and the largest volume that it knows.
enum NoteParam : int {
    NoteParam_SAMPLE = 0,
    NoteParam_POS,
    NoteParam_PIN,
    NoteParam_VOLUME,
    NoteParam_PITCH,
    NoteParam_PAN = 6
};
constexpr double max_gain = 16;
constexpr double max_ratio = 1.005;      // of a voice's volume to what it should be
constexpr double floor_gain = 1.6e-5;    // -96 dB, where slopes from and to silence end
constexpr double quiet_gain = 3e-7;      // below what voices mix
constexpr std::size_t nbr_events = 16;   // of a note in a block, as a rule
constexpr double smoothing_time = 0.005; // s, that a jump of volume or pan takes

} // namespace

NotePlayer::NotePlayer(std::vector<Note> const& note_arr, session::Session::Track const& track,
                       Plugin& plugin, double sample_freq)
    : _note_arr(note_arr)
    , _track(track)
    , _plugin(plugin)
    , _sample_freq(sample_freq)
    , _id_arr(note_arr.size(), no_id) {
    // Room for notes that all start in one block, or move at an ordinary pace.
    std::size_t const nbr_live = std::min<std::size_t>(note_arr.size(), NotePlan::nbr_voices);
    _live_arr.reserve(nbr_live);
    _entry_arr.reserve(nbr_live * nbr_events);
    _evt_arr.reserve(nbr_live * nbr_events);
}

kryn::PluginDsp::EventList NotePlayer::find_events(long len) {
    if (_live_arr.empty() && _next_beg >= _pos + len) {
        _idle_flag = true;
        _pos += len;
        return {nullptr, 0};
    }
    _entry_arr.clear();
    // A voice leaves with the block in which its end lies.
    _live_arr.erase(
        std::remove_if(_live_arr.begin(), _live_arr.end(),
                       [this](Live const& live) { return _note_arr[live.note].end < _pos; }),
        _live_arr.end());
    start_notes(len);
    for (Live& live : _live_arr) {
        // Up to the block's end, also past that of the note: the last line would be stretched.
        move_gain(live, _pos + len);
        move_pan(live, _pos + len);
    }
    release_notes(len);
    _idle_flag = _live_arr.empty();
    _pos += len;
    return sort_events();
}

void NotePlayer::start_notes(long len) {
    for (; _next < _note_arr.size() && _note_arr[_next].beg < _pos + len; ++_next) {
        if (_id_arr[_next] != no_id) {
            start_note(_next);
        }
    }
    _next_beg = _next < _note_arr.size() ? _note_arr[_next].beg : Note::never;
}

void NotePlayer::start_note(std::size_t index) {
    Note const& note = _note_arr[index];
    auto const& clip = _track.clips[static_cast<std::size_t>(note.clip)];
    // The first frame is silent, whatever its volume: it has that of the second already, so that no
    // change comes between them.
    long long const own = note.beg + 1 - note.clip_beg;
    GainCurve const gain(clip.volume, clip.gain, _sample_freq,
                         {conv_to_frames(clip.fade_in, _sample_freq),
                          conv_to_frames(clip.fade_out, _sample_freq),
                          note.clip_end - note.clip_beg});
    double const norm = conv_gain(gain.find_gain(own));
    double const pan = CurveLine::find(clip.pan, _sample_freq, own).find_val(own);
    add_note_event(Dsp::EventType_NOTE_ON, note.beg, index);
    add_param(NoteParam_SAMPLE, note.beg, index, 0, 0, static_cast<double>(_id_arr[index]));
    add_param(NoteParam_POS, note.beg, index, 0, 0, note.pos);
    add_param(NoteParam_PIN, note.beg, index, 0, 0, note.pin);
    add_param(NoteParam_VOLUME, note.beg, index, 0, 0, norm);
    add_param(NoteParam_PITCH, note.beg, index, 0, 0, clip.pitch);
    add_param(NoteParam_PAN, note.beg, index, 0, 0, pan);
    _live_arr.push_back({index, gain, {norm, note.beg + 1}, {pan, note.beg + 1}});
}

// Straight is what the plug-in's form of the volume is on its way, and not the factor; the two meet
// wherever an event of another voice cuts the way.
GainCurve::Piece NotePlayer::find_piece(GainCurve const& gain, long long own, long max_len) const {
    auto piece = gain.find_piece(own, max_len);
    while (piece.len > 1 && !is_followed(gain, own, piece)) {
        piece = gain.find_piece(own, piece.len / 2);
    }
    return piece;
}

bool NotePlayer::is_followed(GainCurve const& gain, long long own,
                             GainCurve::Piece const& piece) const {
    if (piece.beg == piece.end) {
        return true;
    }
    double const norm_beg = conv_gain(piece.beg);
    double const slope = (conv_gain(piece.end) - norm_beg) / static_cast<double>(piece.len);
    auto const is_near = [&](long frame) {
        double const val = conv_norm(norm_beg + slope * static_cast<double>(frame));
        double const wish = std::min(gain.find_gain(own + frame), max_gain);
        return val <= wish * max_ratio + quiet_gain && wish <= val * max_ratio + quiet_gain;
    };
    return is_near(1) && is_near(piece.len / 2) && is_near(piece.len - 1);
}

// A voice moves in straight lines from one event to the next, so that the end of a change needs an
// event as much as its start; what rests needs none. A jump is on its way for a while, and would
// start anew with each event: there is none before it has arrived.
void NotePlayer::move_gain(Live& live, long long end) {
    long long const origin = _note_arr[live.note].clip_beg;
    Course& course = live.volume;
    while (course.next < end && !course.ended_flag) {
        long long const own = course.next - origin;
        auto const piece = find_piece(live.gain, own, static_cast<long>(end - course.next));
        double norm_beg = conv_gain(piece.beg);
        if (std::max(norm_beg, course.val) <= conv_gain(floor_gain)) {
            norm_beg = course.val; // slopes from and to silence end in no jump that is heard
        }
        bool const jump_flag = norm_beg != course.val;
        long const len = jump_flag ? find_smoothing_len() : piece.len;
        double const gain_end = jump_flag ? live.gain.find_gain(own + len) : piece.end;
        tell(course, NoteParam_VOLUME, live.note, len, norm_beg, conv_gain(gain_end));
        course.ended_flag = course.rest_flag && live.gain.is_constant_from(own);
    }
}

// The pan law has a corner in the middle.
void NotePlayer::move_pan(Live& live, long long end) {
    Note const& note = _note_arr[live.note];
    auto const& points = _track.clips[static_cast<std::size_t>(note.clip)].pan;
    Course& course = live.pan;
    while (course.next < end && !course.ended_flag) {
        long long const own = course.next - note.clip_beg;
        CurveLine const line = CurveLine::find(points, _sample_freq, own);
        double const val_beg = line.find_val(own);
        if (val_beg != course.val) {
            long const len = find_smoothing_len();
            double const val_end =
                CurveLine::find(points, _sample_freq, own + len).find_val(own + len);
            tell(course, NoteParam_PAN, live.note, len, val_beg, val_end);
            continue;
        }
        long long piece_end = std::min(end - note.clip_beg, line.end);
        if (long long const middle = line.find_zero(); own < middle && middle < piece_end) {
            piece_end = middle;
        }
        tell(course, NoteParam_PAN, live.note, static_cast<long>(piece_end - own), val_beg,
             line.find_val(piece_end));
        course.ended_flag = course.rest_flag && line.end == CurveLine::far_pos;
    }
}

// The next step of a value: len frames from one to the other.
void NotePlayer::tell(Course& course, int index, std::size_t note, long len, double val_beg,
                      double val_end) {
    bool const rest_flag = course.val == val_beg && val_beg == val_end;
    if (!rest_flag || !course.rest_flag) {
        add_param(index, course.next, note, len, val_beg, val_end);
    }
    course = {val_end, course.next + len, rest_flag};
}

// At the most, volume and pan of a note take a step each frame.
void NotePlayer::reserve_lists(long max_len) {
    constexpr std::size_t nbr_others = 8; // that start and end a note
    std::size_t const nbr_live = std::min<std::size_t>(_note_arr.size(), NotePlan::nbr_voices);
    std::size_t const nbr_evt = nbr_live * (nbr_others + 2 * static_cast<std::size_t>(max_len));
    // What is used as a rule is touched, so that the real-time side meets no fresh page of memory.
    constexpr std::size_t nbr_touched = 64; // of a voice
    auto const reserve = [nbr_live](auto& list, std::size_t len) {
        list.reserve(len);
        list.resize(std::min(len, nbr_live * nbr_touched));
        list.clear();
    };
    _live_arr.reserve(nbr_live);
    reserve(_entry_arr, nbr_evt);
    reserve(_evt_arr, nbr_evt);
}

void NotePlayer::release_notes(long len) {
    for (Live const& live : _live_arr) {
        long long const off = _note_arr[live.note].off;
        if (off >= _pos && off < _pos + len) {
            add_note_event(Dsp::EventType_NOTE_OFF, off, live.note);
        }
    }
}

void NotePlayer::add_note_event(Dsp::EventType type, long long frame, std::size_t note) {
    Dsp::Event evt = {};
    evt.type = type;
    evt.note_id = static_cast<int>(note);
    add(frame, evt);
}

void NotePlayer::add_param(int index, long long frame, std::size_t note, long ramp_len,
                           double val_beg, double val_end) {
    Dsp::Event evt = {};
    evt.type = Dsp::EventType_PARAM;
    evt.param = {
        {kryn::ParamScope_NOTE, static_cast<int>(note), index}, ramp_len, val_beg, val_end};
    add(frame, evt);
}

void NotePlayer::add(long long frame, Dsp::Event& evt) {
    evt.timestamp = static_cast<long>(frame - _pos);
    _entry_arr.push_back({evt, static_cast<int>(_entry_arr.size())});
}

double NotePlayer::conv_gain(double gain) const {
    return _plugin.conv_param_nat_to_norm({kryn::ParamScope_NOTE, 0, NoteParam_VOLUME},
                                          std::min(gain, max_gain));
}

double NotePlayer::conv_norm(double norm) const {
    return _plugin.conv_param_norm_to_nat({kryn::ParamScope_NOTE, 0, NoteParam_VOLUME}, norm);
}

long NotePlayer::find_smoothing_len() const {
    return std::lround(std::ceil(smoothing_time * _sample_freq));
}

kryn::PluginDsp::EventList NotePlayer::sort_events() {
    std::sort(_entry_arr.begin(), _entry_arr.end(), [](Entry const& a, Entry const& b) {
        return a.evt.timestamp != b.evt.timestamp ? a.evt.timestamp < b.evt.timestamp
                                                  : a.order < b.order;
    });
    _evt_arr.clear();
    for (Entry const& entry : _entry_arr) {
        _evt_arr.push_back(&entry.evt);
    }
    return {_evt_arr.data(), static_cast<long>(_evt_arr.size())};
}

} // namespace ulk::host::engine
