#pragma once

#include "ulk/prout/ParamDescInterface.h"

namespace ulk::ace::baplug {

// Wet/dry balance. The natural value, 0 (wet) to 1 (dry), is a pair of hyperbolas of the normalised
// one that meet at the centre: steep there, flat towards both ends.
class ParamDryWet : public prout::ParamDescInterface {
public:
    // real-time; no test of the range.
    static double st_conv_norm_to_nat_no_check(double norm);
    // -14484 out of range, with the result left alone.
    static int st_conv_norm_to_nat(double norm, double& nat);
    static int st_conv_nat_to_norm(double nat, double& norm);
    // Both shares in percent, wet first. -14484 out of range, then -14499 for a max_len below 3.
    static int st_conv_to_str(double norm, char* txt, long max_len);
    // Reads the wet share in percent. -14487 without a number, with 0 in norm; -14484 for one
    // outside 0 to 100, with the natural value in norm.
    static int st_conv_from_str(char const* txt, double& norm);

protected:
    int do_get_prop(Prop& prop) const override;
    int do_conv_norm_to_nat(double norm, double& nat) const override;
    int do_conv_nat_to_norm(double nat, double& norm) const override;
    int do_conv_to_str(double val, char* txt, long max_len) const override;
    int do_conv_from_str(char const* txt, double& val) const override;
    double do_get_val_min() const override;
    double do_get_val_max() const override;
};

} // namespace ulk::ace::baplug
