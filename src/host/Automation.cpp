#include "host/Automation.h"

#include "host/Error.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace ulk::host {

Automation::Automation(ParamTable const& params, std::vector<ParamChange> const& change_arr,
                       double sample_freq) {
    std::vector<Course> course_arr(static_cast<std::size_t>(params.get_nbr_params()));
    for (ParamChange const& change : change_arr) {
        Dsp::Event evt = {};
        evt.type = Dsp::EventType_PARAM;
        try {
            int const index = params.find(change.param);
            double const start_val = params.get_val(index);
            course_arr[static_cast<std::size_t>(index)] = {0, 0, start_val, start_val};
            evt.param.location = {kryn::ParamScope_GLOBAL, 0, index};
            evt.param.val_end = params.read_val(index, change.val);
        } catch (Error const& e) {
            throw Error(e.get_kind(), change.origin + ": " + e.what());
        }
        evt.param.ramp_len = std::lround(change.ramp_time * sample_freq);
        _entry_arr.push_back({std::llround(change.time * sample_freq), evt});
    }
    std::stable_sort(_entry_arr.begin(), _entry_arr.end(),
                     [](Entry const& a, Entry const& b) { return a.frame < b.frame; });
    make_ramps(std::move(course_arr));
    list_events();
}

void Automation::list_events() {
    _evt_arr.clear();
    for (Entry const& entry : _entry_arr) {
        _evt_arr.push_back(&entry.evt);
    }
}

void Automation::start_at(long long pos) {
    auto const rest =
        std::upper_bound(_entry_arr.begin(), _entry_arr.end(), pos,
                         [](long long frame, Entry const& entry) { return frame < entry.frame; });
    std::map<int, Entry> last_map; // by parameter
    for (auto entry = _entry_arr.begin(); entry != rest; ++entry) {
        last_map[entry->evt.param.location.index] = *entry;
    }
    std::vector<Entry> entry_arr;
    for (auto& [index, entry] : last_map) {
        Dsp::EventParam& param = entry.evt.param;
        Course const course = {entry.frame, param.ramp_len, param.val_beg, param.val_end};
        param.val_beg = course.find_val(pos);
        param.ramp_len = static_cast<long>(std::max(entry.frame + param.ramp_len - pos, 0LL));
        entry.frame = pos;
        if (param.ramp_len > 0) {
            entry_arr.push_back(entry);
        } else {
            _start_arr.push_back(entry.evt);
        }
    }
    entry_arr.insert(entry_arr.end(), rest, _entry_arr.end());
    _entry_arr.swap(entry_arr);
    list_events();
    for (Dsp::Event const& evt : _start_arr) {
        _start_evt_arr.push_back(&evt);
    }
}

kryn::PluginDsp::EventList Automation::find_start() const {
    return {_start_evt_arr.data(), static_cast<long>(_start_evt_arr.size())};
}

double Automation::Course::find_val(long long frame) const {
    if (frame - beg >= len) {
        return val_end;
    }
    return val_beg +
           (val_end - val_beg) * static_cast<double>(frame - beg) / static_cast<double>(len);
}

// course_arr: by parameter.
void Automation::make_ramps(std::vector<Course> course_arr) {
    for (Entry& entry : _entry_arr) {
        Dsp::EventParam& param = entry.evt.param;
        Course& course = course_arr[static_cast<std::size_t>(param.location.index)];
        param.val_beg = course.find_val(entry.frame);
        course = {entry.frame, param.ramp_len, param.val_beg, param.val_end};
    }
}

kryn::PluginDsp::EventList Automation::find_block(long long pos, long len) {
    std::size_t const first = _next;
    while (_next < _entry_arr.size() && _entry_arr[_next].frame < pos + len) {
        _entry_arr[_next].evt.timestamp = static_cast<long>(_entry_arr[_next].frame - pos);
        ++_next;
    }
    return {_evt_arr.data() + first, static_cast<long>(_next - first)};
}

} // namespace ulk::host
