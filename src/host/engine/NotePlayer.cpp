#include "host/engine/NotePlayer.h"

#include "host/engine/CurveLine.h"

#include <algorithm>

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

} // namespace

NotePlayer::NotePlayer(std::vector<Note> const& note_arr, session::Session::Track const& track,
                       Plugin& plugin, double sample_freq)
    : _note_arr(note_arr)
    , _track(track)
    , _plugin(plugin)
    , _sample_freq(sample_freq)
    , _id_arr(note_arr.size(), no_id) {}

kryn::PluginDsp::EventList NotePlayer::find_events(long len) {
    _entry_arr.clear();
    // A voice leaves with the block in which its end lies.
    _live_arr.erase(
        std::remove_if(_live_arr.begin(), _live_arr.end(),
                       [this](Live const& live) { return _note_arr[live.note].end < _pos; }),
        _live_arr.end());
    start_notes(len);
    for (Live& live : _live_arr) {
        move_note(live, len);
    }
    release_notes(len);
    _idle_flag = _live_arr.empty() && _entry_arr.empty();
    _pos += len;
    return sort_events();
}

void NotePlayer::start_notes(long len) {
    for (; _next < _note_arr.size() && _note_arr[_next].beg < _pos + len; ++_next) {
        if (_id_arr[_next] != no_id) {
            start_note(_next);
        }
    }
}

void NotePlayer::start_note(std::size_t index) {
    Note const& note = _note_arr[index];
    auto const& clip = _track.clips[static_cast<std::size_t>(note.clip)];
    long long const own = note.beg - note.clip_beg; // frame of the clip's own time
    auto const conv_len = [this](double time) {
        return static_cast<long long>(time * _sample_freq + 0.5);
    };
    GainCurve const gain(
        clip.volume, clip.gain, _sample_freq,
        {conv_len(clip.fade_in), conv_len(clip.fade_out), note.clip_end - note.clip_beg});
    CurveLine const pan = CurveLine::find(clip.pan, _sample_freq, own);
    double const norm = conv_gain(gain.find_piece(own, 1).beg);
    add_note_event(Dsp::EventType_NOTE_ON, note.beg, index);
    add_param(NoteParam_SAMPLE, note.beg, index, 0, 0, static_cast<double>(_id_arr[index]));
    add_param(NoteParam_POS, note.beg, index, 0, 0, note.pos);
    add_param(NoteParam_PIN, note.beg, index, 0, 0, note.pin);
    add_param(NoteParam_VOLUME, note.beg, index, 0, 0, norm);
    add_param(NoteParam_PITCH, note.beg, index, 0, 0, clip.pitch);
    add_param(NoteParam_PAN, note.beg, index, 0, 0, pan.find_val(own));
    _live_arr.push_back({index, gain, norm, !gain.is_constant_from(own),
                         !(pan.is_constant() && pan.end == CurveLine::far_pos)});
}

// Changes after the Note On: from the block's start, or from the frame behind the start.
void NotePlayer::move_note(Live& live, long len) {
    Note const& note = _note_arr[live.note];
    long long const beg = std::max(_pos, note.beg + 1);
    long long const end = std::min(_pos + len, note.end);
    if (live.gain_flag) {
        move_gain(live, beg, end);
    }
    if (live.pan_flag) {
        move_pan(live, beg, end);
    }
}

void NotePlayer::move_gain(Live& live, long long beg, long long end) {
    long long const origin = _note_arr[live.note].clip_beg;
    for (long long frame = beg; frame < end && live.gain_flag;) {
        auto const piece = live.gain.find_piece(frame - origin, static_cast<long>(end - frame));
        double const norm_end = conv_gain(piece.end);
        double norm_beg = conv_gain(piece.beg);
        if (frame == _note_arr[live.note].beg + 1) {
            norm_beg = live.norm; // no step behind the first frame
        }
        add_param(NoteParam_VOLUME, frame, live.note, piece.len, norm_beg, norm_end);
        live.norm = norm_end;
        frame += piece.len;
        live.gain_flag = !live.gain.is_constant_from(frame - origin) ||
                         conv_gain(live.gain.find_piece(frame - origin, 1).beg) != norm_end;
    }
}

void NotePlayer::move_pan(Live& live, long long beg, long long end) {
    Note const& note = _note_arr[live.note];
    auto const& clip = _track.clips[static_cast<std::size_t>(note.clip)];
    for (long long frame = beg; frame < end && live.pan_flag;) {
        long long const own = frame - note.clip_beg;
        CurveLine const line = CurveLine::find(clip.pan, _sample_freq, own);
        long long const piece_end = std::min(end - note.clip_beg, line.end);
        add_param(NoteParam_PAN, frame, live.note, static_cast<long>(piece_end - own),
                  line.find_val(own), line.find_val(piece_end));
        frame = note.clip_beg + piece_end;
        live.pan_flag = !(line.end == CurveLine::far_pos);
    }
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
