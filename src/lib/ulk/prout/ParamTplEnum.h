#pragma once

#include "ulk/prout/ParamDescInterface.h"
#include "ulk/prout/ParamHelperEnum.h"

namespace ulk::prout {

// A ready-made enumeration parameter.
class ParamTplEnum : public ParamDescInterface {
public:
    // item_list: items separated by line feeds (one at the end adds an empty item). name: a print
    // format, in which "%1%" stands for index, to number a family of parameters. print_format:
    // see ParamHelperEnum.
    ParamTplEnum(char const* item_list, char const* name, char const* unit, int index,
                 char const* print_format);

protected:
    int do_get_prop(Prop& prop) const override;
    int do_conv_norm_to_nat(double norm, double& nat) const override;
    int do_conv_nat_to_norm(double nat, double& norm) const override;
    int do_conv_to_str(double val, char* txt, long max_len) const override;
    int do_conv_from_str(char const* txt, double& val) const override;
    double do_get_val_min() const override;
    double do_get_val_max() const override;

private:
    Prop _prop;
    ParamHelperEnum _helper;
};

} // namespace ulk::prout
