#include "ulk/prout/ParamAdder.h"

#include "ulk/prout/ParamDescList.h"
#include "ulk/prout/ParamValList.h"

#include <cassert>
#include <stdexcept>

namespace ulk::prout {

void ParamAdder::add_param(mem::SharedPtr<ParamDescInterface> desc, int index, double val) {
    assert(_desc_list_ptr != nullptr);
    _desc_list_ptr->add_param(index, desc);
    if (_val_list_ptr != nullptr) {
        _val_list_ptr->add_param(index, val);
        _val_list_ptr->use_mgr(index).set_range(desc->get_val_min(), desc->get_val_max());
    }
}

void ParamAdder::set_obs(int index, util::ObserverInterface& obs, long obs_id) {
    if (_val_list_ptr == nullptr || !_val_list_ptr->is_param_set(index)) {
        throw std::runtime_error("ulk::prout::ParamAdder::set_obs(): parameter not found.");
    }
    ParamValMgr& mgr = _val_list_ptr->use_mgr(index);
    mgr.add_observer(obs);
    mgr.set_obs_id(obs_id);
}

void ParamAdder::set_obs(ParamDescInterface const& desc, util::ObserverInterface& obs,
                         long obs_id) {
    set_obs(find_index(desc), obs, obs_id);
}

int ParamAdder::find_index(ParamDescInterface const& desc) const {
    int const nbr_param = _desc_list_ptr == nullptr ? 0 : _desc_list_ptr->get_nbr_param();
    for (int index = 0; index < nbr_param; ++index) {
        if (_desc_list_ptr->is_param_set(index) && &_desc_list_ptr->use_desc(index) == &desc) {
            return index;
        }
    }
    return -1;
}

} // namespace ulk::prout
