#include "ulk/prout/ParamDescList.h"

#include "ulk/ace/Err.h"
#include "ulk/udbg/log.h"

namespace ulk::prout {

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
