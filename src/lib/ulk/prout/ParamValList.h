#pragma once

#include "ulk/prout/ParamValMgr.h"
#include "ulk/prout/SlotList.h"

namespace ulk::prout {

// Values of the parameters of one scope, indexed like the ParamDescList. Filled in the plug-in's
// constructor; then belongs to the thread that processes.
class ParamValList {
public:
    // Makes a manager that stands at val. Grows the list to reach index with null slots; replaces
    // what stood there.
    void add_param(int index, double val);
    void clear() { _slot_list.clear(); }

    bool is_param_set(int index) const { return _slot_list.find(index) != nullptr; }
    int get_nbr_param() const { return _slot_list.get_size(); }
    // real-time. index is not tested.
    ParamValMgr& use_mgr(int index) { return _slot_list.use(index); }
    ParamValMgr const& use_mgr(int index) const { return _slot_list.use(index); }

    // real-time. Ends all ramps at their targets; notifies nobody.
    void clear_buffers();

private:
    SlotList<ParamValMgr> _slot_list;
};

} // namespace ulk::prout
