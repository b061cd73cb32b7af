#include "host/check/EventMaker.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ulk::host::check {

EventMaker::Dsp::EventList EventMaker::make(long nbr_spl) {
    _event_list.clear();
    _ptr_list.clear();
    if (nbr_spl > 0 && _dice.has_luck(70)) {
        for (long left = _dice.roll(8); left > 0; --left) {
            add_any(nbr_spl);
        }
    }
    std::stable_sort(_event_list.begin(), _event_list.end(),
                     [](auto const& a, auto const& b) { return a.timestamp < b.timestamp; });
    for (Dsp::Event const& event : _event_list) {
        _ptr_list.push_back(&event);
    }
    _copy_list = _event_list;
    return {_ptr_list.empty() ? nullptr : _ptr_list.data(), static_cast<long>(_ptr_list.size())};
}

bool EventMaker::is_same() const {
    for (std::size_t i = 0; i < _event_list.size(); ++i) {
        if (_ptr_list[i] != &_event_list[i] ||
            std::memcmp(&_event_list[i], &_copy_list[i], sizeof(Dsp::Event)) != 0) {
            return false;
        }
    }
    return true;
}

EventMaker::Dsp::Event& EventMaker::add(int type, long timestamp) {
    Dsp::Event& event = _event_list.emplace_back();
    std::memset(static_cast<void*>(&event), 0, sizeof(event)); // what lies between fields, too
    event.type = type;
    event.timestamp = timestamp;
    return event;
}

double EventMaker::roll_value(Subject::Param const& param) {
    double const span = param.val_max - param.val_min;
    switch (_dice.roll(6)) {
    case 0:
        return param.val_min;
    case 1:
        return param.val_max;
    case 2: // a small whole number, where choices are counted
        return std::clamp(std::floor(_dice.roll_unit() * 8), param.val_min, param.val_max);
    default:
        return param.val_min + span * _dice.roll_unit();
    }
}

void EventMaker::add_param(Subject::Param const& param, long timestamp, int note_id, long nbr_spl) {
    Dsp::Event& event = add(Dsp::EventType_PARAM, timestamp);
    event.param.location = param.location;
    event.param.location.note_id = note_id;
    event.param.val_end = roll_value(param);
    if (param.ramp_flag && _dice.has_luck(50)) {
        event.param.ramp_len = _dice.roll(1, 3 * nbr_spl); // the next blocks included
        event.param.val_beg = roll_value(param);
    }
}

// Of a scope that no plug-in has, or behind the list of one.
void EventMaker::add_stray_param(long timestamp) {
    static constexpr kryn::ParamScope scope_arr[] = {kryn::ParamScope_1, kryn::ParamScope_4,
                                                     kryn::ParamScope_6};
    static constexpr int index_arr[] = {-1, 1000, 0x7FFFFFFF};
    Dsp::Event& event = add(Dsp::EventType_PARAM, timestamp);
    bool const scope_flag = _dice.has_luck(50);
    event.param.location = {scope_flag ? _dice.pick(scope_arr) : kryn::ParamScope_GLOBAL,
                            static_cast<int>(_dice.roll(4)),
                            scope_flag ? 0 : _dice.pick(index_arr)};
    event.param.val_end = _dice.roll_unit();
}

// A note with its parameters, and often its end.
void EventMaker::add_note(long timestamp, long nbr_spl) {
    int const note_id = static_cast<int>(_dice.roll(16));
    for (Subject::Param const& param : _param_list) {
        if (param.location.scope == kryn::ParamScope_NOTE && _dice.has_luck(60)) {
            add_param(param, timestamp, note_id, nbr_spl);
        }
    }
    add(Dsp::EventType_NOTE_ON, timestamp).note_id = note_id;
    if (_dice.has_luck(50)) {
        add(Dsp::EventType_NOTE_OFF, _dice.roll(timestamp, nbr_spl - 1)).note_id = note_id;
    }
}

void EventMaker::add_any(long nbr_spl) {
    static constexpr int unknown_arr[] = {0, 1, 2, 3, 4, 10, 255, -1, 0x7FFFFFFF};
    long const timestamp = _dice.has_luck(20) ? 0 : _dice.roll(nbr_spl);
    if (_dice.has_luck(1)) { // more notes than most can play
        for (int note_id = 100; note_id < 200; ++note_id) {
            add(Dsp::EventType_NOTE_ON, timestamp).note_id = note_id;
        }
        return;
    }
    switch (_dice.roll(8)) {
    case 0:
        add(_dice.pick(unknown_arr), timestamp);
        break;
    case 1:
        add_stray_param(timestamp);
        break;
    case 2:
        add(_dice.has_luck(80) ? Dsp::EventType_NOTE_OFF : Dsp::EventType_NOTE_END, timestamp)
            .note_id = static_cast<int>(_dice.roll(16));
        break;
    case 3:
        if (_dice.has_luck(20)) {
            add(Dsp::EventType_ALL_NOTES_OFF, timestamp);
        }
        break;
    case 4:
    case 5:
        add_note(timestamp, nbr_spl);
        break;
    default:
        if (!_param_list.empty()) {
            add_param(_dice.pick(_param_list), timestamp, static_cast<int>(_dice.roll(16)),
                      nbr_spl);
        }
    }
}

} // namespace ulk::host::check
