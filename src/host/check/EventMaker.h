#pragma once

#include "host/check/Dice.h"
#include "host/check/Subject.h"
#include "ulk/kryn/PluginDsp.h"

#include <vector>

namespace ulk::host::check {

// Makes lists of events as a host may send them: changes of parameters that there are and that
// there are not, notes with their parameters, events of unknown types; sorted, in bounds.
class EventMaker {
public:
    using Dsp = kryn::PluginDsp;

    EventMaker(Dice& dice, std::vector<Subject::Param> const& param_list)
        : _dice(dice)
        , _param_list(param_list) {}

    // The events of a block; the list is valid until the next one is made.
    Dsp::EventList make(long nbr_spl);

    // All that was made as it was made.
    bool is_same() const;

private:
    Dsp::Event& add(int type, long timestamp);
    void add_param(Subject::Param const& param, long timestamp, int note_id, long nbr_spl);
    void add_stray_param(long timestamp);
    void add_note(long timestamp, long nbr_spl);
    void add_any(long nbr_spl);
    double roll_value(Subject::Param const& param);

    Dice& _dice;
    std::vector<Subject::Param> const& _param_list;
    std::vector<Dsp::Event> _event_list;
    std::vector<Dsp::Event> _copy_list;
    std::vector<Dsp::Event const*> _ptr_list;
};

} // namespace ulk::host::check
