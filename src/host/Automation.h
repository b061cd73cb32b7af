#pragma once

#include "host/ParamChange.h"
#include "host/ParamTable.h"
#include "ulk/kryn/PluginDsp.h"

#include <vector>

namespace ulk::host {

// The parameter changes of one instance as events, cut into blocks to the frame. Changes at one
// time keep their order. A change ends a ramp of the same parameter that still runs, and a ramp
// starts from where the parameter stands.
class Automation {
public:
    using Dsp = kryn::PluginDsp;

    // Reads names and values through the plug-in, and asks it for the values at the start. Control
    // side. Throws an Error that names the origin of a change.
    Automation(ParamTable const& params, std::vector<ParamChange> const& change_arr,
               double sample_freq);

    // Before the first block, which may then start anywhere: what lies up to frame pos is in force
    // there. Ramps that still run go on from there; what has come to rest is told by find_start().
    void start_at(long long pos);
    // The values at rest at the start, as jumps at time stamp 0, for a host that brings the plug-in
    // there in silence. Good as long as the object.
    Dsp::EventList find_start() const;
    // The events of the block of len frames that starts at frame pos; blocks come one behind the
    // other. The list is good until the next call. real-time
    Dsp::EventList find_block(long long pos, long len);

private:
    // An event by its frame from the start; its time stamp is set for the block that it is in.
    struct Entry {
        long long frame;
        Dsp::Event evt;
    };
    // The course of one parameter from its last change on.
    struct Course {
        long long beg = 0; // frame
        long len = 0;
        double val_beg = 0;
        double val_end = 0;

        double find_val(long long frame) const;
    };

    void make_ramps(std::vector<Course> course_arr);
    void list_events();

    std::vector<Entry> _entry_arr; // by time
    std::vector<Dsp::Event const*> _evt_arr;
    std::vector<Dsp::Event> _start_arr;
    std::vector<Dsp::Event const*> _start_evt_arr;
    std::size_t _next = 0;
};

} // namespace ulk::host
