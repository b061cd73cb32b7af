#include "host/Automation.h"

#include "host/Error.h"

#include <algorithm>
#include <cmath>

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
    for (Entry const& entry : _entry_arr) {
        _evt_arr.push_back(&entry.evt);
    }
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
