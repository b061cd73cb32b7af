#include "ulk/prout/ParamValList.h"

namespace ulk::prout {

void ParamValList::add_param(int index, double val) {
    auto const mgr = mem::SharedPtr<ParamValMgr>::make();
    mgr->set_val(val);
    _slot_list.set(index, mgr);
}

void ParamValList::clear_buffers() {
    for (int index = 0; index < get_nbr_param(); ++index) {
        if (is_param_set(index)) {
            use_mgr(index).end_ramp();
        }
    }
}

} // namespace ulk::prout
