#pragma once

#include "ulk/kryn/ParamScope.h"
#include "ulk/prout/ParamDescInterface.h"
#include "ulk/prout/SlotList.h"

namespace ulk::prout {

class DescParamList;

// Descriptions of the parameters of one scope, by parameter index; owns them. Filled in the
// plug-in's constructor and only read afterwards, from any thread.
class ParamDescList {
public:
    // Grows the list to reach index with null slots; replaces what stood there.
    void add_param(int index, mem::SharedPtr<ParamDescInterface> desc) {
        _slot_list.set(index, desc);
    }
    void clear() { _slot_list.clear(); }

    bool is_ok() const { return _slot_list.get_nbr_unset() == 0; } // no null slot
    bool is_param_set(int index) const { return _slot_list.find(index) != nullptr; }
    int get_nbr_param() const { return _slot_list.get_size(); }
    // index is not tested.
    ParamDescInterface& use_desc(int index) { return _slot_list.use(index); }
    ParamDescInterface const& use_desc(int index) const { return _slot_list.use(index); }

    // The conversions of ParamInterface. An index without a description gives -14484; in the text
    // forms it is logged, and the result becomes the empty text or 0.
    int conv_param_norm_to_nat(int index, double norm, double& nat) const;
    int conv_param_nat_to_norm(int index, double nat, double& norm) const;
    int conv_param_to_str(int index, double val, char* txt, long max_len) const;
    int conv_param_from_str(int index, char const* txt, double& val) const;

    // Writes the descriptions into a scope of the document, which gets as many parameters as this
    // list. Stops at the first get_prop that fails and returns its code; -14496 for a null slot.
    int copy_to_desc(DescParamList& desc, kryn::ParamScope scope) const;

private:
    bool check_index(int index) const;

    SlotList<ParamDescInterface> _slot_list;
};

} // namespace ulk::prout
