#pragma once

#include "ulk/kryn/PluginDsp.h"

#include <algorithm>

namespace ulk::prout {

// Splits a block at the stamps of its events, for a plug-in of type T: runs of frames go to one of
// its members, events to another, in the order of time.
template <class T>
class ProcLoop {
public:
    using ProcSamples = void (T::*)(long beg, long end); // frames beg to end - 1 of the block
    using ProcEvent = void (T::*)(kryn::PluginDsp::Event const& evt);

    explicit ProcLoop(T& object)
        : _object_ptr(&object) {}
    virtual ~ProcLoop() = default;

    // real-time. An event at nbr_spl is still served, those behind it are dropped. A block of no
    // frames serves one event.
    void process(kryn::PluginDsp::EventList const& evt_list, long nbr_spl, ProcSamples proc_samples,
                 ProcEvent proc_event) const;

private:
    T* _object_ptr;
};

template <class T>
void ProcLoop<T>::process(kryn::PluginDsp::EventList const& evt_list, long nbr_spl,
                          ProcSamples proc_samples, ProcEvent proc_event) const {
    long pos = 0;
    long evt_pos = 0;
    do {
        kryn::PluginDsp::Event const* pending = nullptr;
        long end = nbr_spl;
        if (evt_pos < evt_list.nbr_evt) {
            pending = evt_list.evt_arr[evt_pos];
            ++evt_pos;
            // A stamp behind the block breaks the contract; never run over the buffers for it.
            end = std::min(pending->timestamp, nbr_spl);
        }
        if (end > pos) {
            (_object_ptr->*proc_samples)(pos, end);
            pos = end;
        }
        if (pending != nullptr) {
            (_object_ptr->*proc_event)(*pending);
        }
    } while (pos < nbr_spl);
}

} // namespace ulk::prout
