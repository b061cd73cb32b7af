#pragma once

#include "ulk/ace/Err.h"
#include "ulk/prout/ParamDescInterface.h"

namespace ulk::ace::baplug {

// Base of parameters that travel in their natural form alone: there is no normalised one, and
// asking for it gives -14486 with the result left alone.
class ParamNatural : public prout::ParamDescInterface {
protected:
    int do_conv_norm_to_nat(double /*norm*/, double& /*nat*/) const override {
        return Err_NOT_SUPPORTED;
    }
    int do_conv_nat_to_norm(double /*nat*/, double& /*norm*/) const override {
        return Err_NOT_SUPPORTED;
    }

    // For do_conv_to_str(): the value first, then the room. 0, -14484 or -14499.
    int check_to_str(double val, long max_len, long least_len) const {
        if (!(val >= get_val_min() && val <= get_val_max())) {
            return Err_OUT_OF_RANGE;
        }
        return max_len < least_len ? Err_NO_ROOM : Err_OK;
    }
};

} // namespace ulk::ace::baplug
