#pragma once

#include "ulk/prout/ParamDescInterface.h"

namespace ulk::ace::baplug {

// Time stretch ratio of a note, for the protocol alone: the reader does not stretch. The scale is
// logarithmic: natural = _min_val * exp(norm * _log_base). Texts are in percent.
class ParamSplTimeStretch : public prout::ParamDescInterface {
public:
    static constexpr double _min_val = 0.25;
    static constexpr double _max_val = 4;
    static constexpr double _log_base = 2.772588722239781; // ln(_max_val / _min_val)

    // real-time; 1.0 for a value out of range.
    static double conv_direct_param_norm_to_nat(double norm);
    static double conv_direct_param_nat_to_norm(double nat); // rounded to single precision

protected:
    int do_get_prop(Prop& prop) const override;
    int do_conv_norm_to_nat(double norm, double& nat) const override; // -14484 with 1.0
    int do_conv_nat_to_norm(double nat, double& norm) const override; // -14484 with 0.5
    int do_conv_to_str(double val, char* txt, long max_len) const override;
    int do_conv_from_str(char const* txt, double& val) const override; // limited to the range
    double do_get_val_min() const override;
    double do_get_val_max() const override;
};

} // namespace ulk::ace::baplug
