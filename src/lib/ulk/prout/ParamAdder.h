#pragma once

#include "ulk/mem/SharedPtr.h"
#include "ulk/prout/ParamDescInterface.h"
#include "ulk/util/ObserverInterface.h"

namespace ulk::prout {

class ParamDescList;
class ParamValList;

// Short-lived tool of a plug-in's constructor, which fills the lists of one scope together. The
// lists belong to the caller; the list of values is optional.
class ParamAdder {
public:
    void set_desc_list(ParamDescList& desc_list) { _desc_list_ptr = &desc_list; }
    void set_val_list(ParamValList& val_list) { _val_list_ptr = &val_list; }

    // Needs the description list. val: start value of the manager, which takes its range from
    // desc.
    void add_param(mem::SharedPtr<ParamDescInterface> desc, int index, double val);

    // Registers obs, not owned, on the manager of a parameter. Throws std::runtime_error when
    // there is no such parameter or no list of values.
    void set_obs(int index, util::ObserverInterface& obs, long obs_id);
    void set_obs(ParamDescInterface const& desc, util::ObserverInterface& obs, long obs_id);

private:
    int find_index(ParamDescInterface const& desc) const; // -1 when it is not there

    ParamDescList* _desc_list_ptr = nullptr;
    ParamValList* _val_list_ptr = nullptr;
};

} // namespace ulk::prout
