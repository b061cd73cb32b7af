#pragma once

#include "ulk/ace/baplug/ParamNatural.h"

namespace ulk::ace::baplug {

// Output pin of a note, from 0; texts count from 1.
class ParamSplOut : public ParamNatural {
protected:
    int do_get_prop(Prop& prop) const override;
    int do_conv_to_str(double val, char* txt, long max_len) const override;
    int do_conv_from_str(char const* txt, double& val) const override;
    double do_get_val_min() const override;
    double do_get_val_max() const override;
};

} // namespace ulk::ace::baplug
