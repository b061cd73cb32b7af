#include "ulk/prout/ParamDescList.h"

#include "ulk/ace/Err.h"
#include "ulk/prout/DescParamList.h"
#include "ulk/udbg/log.h"

namespace ulk::prout {

namespace {

void copy_prop(DescParam& param, ParamInterface::Prop const& prop) {
    param.set_range(prop.val_min, prop.val_max);
    param.set_name(prop.name);
    param.set_unit(prop.unit);
    param.set_dir(prop.dir);
    param.set_flags(prop.flags);
    param.set_validity(prop.validity);
    param.set_public_range(prop.public_range);
    param.set_domain_val(prop.domain_val);
    param.set_domain_time(prop.domain_time);
    param.set_type_data(prop.type_data);
    param.set_type_use(prop.type_use);
}

} // namespace

int ParamDescList::conv_param_norm_to_nat(int index, double norm, double& nat) const {
    return is_param_set(index) ? use_desc(index).conv_norm_to_nat(norm, nat)
                               : ace::Err_OUT_OF_RANGE;
}

int ParamDescList::conv_param_nat_to_norm(int index, double nat, double& norm) const {
    return is_param_set(index) ? use_desc(index).conv_nat_to_norm(nat, norm)
                               : ace::Err_OUT_OF_RANGE;
}

int ParamDescList::conv_param_to_str(int index, double val, char* txt, long max_len) const {
    if (!check_index(index)) {
        *txt = '\0';
        return ace::Err_OUT_OF_RANGE;
    }
    return use_desc(index).conv_to_str(val, txt, max_len);
}

int ParamDescList::conv_param_from_str(int index, char const* txt, double& val) const {
    if (!check_index(index)) {
        val = 0;
        return ace::Err_OUT_OF_RANGE;
    }
    return use_desc(index).conv_from_str(txt, val);
}

int ParamDescList::copy_to_desc(DescParamList& desc, kryn::ParamScope scope) const {
    desc.set_nbr_param(scope, get_nbr_param());
    for (int index = 0; index < get_nbr_param(); ++index) {
        if (!is_param_set(index)) {
            return ace::Err_DATA_NOT_AVAILABLE;
        }
        ParamInterface::Prop prop;
        if (int const ret = use_desc(index).get_prop(prop); ret != ace::Err_OK) {
            return ret;
        }
        copy_prop(desc.use_param(scope, index), prop);
    }
    return ace::Err_OK;
}

// Both text commands log the name of the first, which tools that read the log know.
bool ParamDescList::check_index(int index) const {
    if (is_param_set(index)) {
        return true;
    }
    ULK_LOG(ERROR, "conv_param_to_str(): index out of range (%1%, nbr param = %2%)", index,
            get_nbr_param());
    return false;
}

} // namespace ulk::prout
