#pragma once

#include "ulk/ace/baplug/ParamSharedVol.h"
#include "ulk/prout/ParamDescInterface.h"

namespace ulk::ace::baplug {

// What the volumes of Tape share: a gain up to 16 (+24 dB), which travels in normalised form.
class ParamTapeVol : public prout::ParamDescInterface {
public:
    using Law = ParamSharedVol<16, 8>;

    // real-time; 1.0 for a value out of range.
    static double conv_direct_param_norm_to_nat(double norm) {
        return Law::conv_direct_norm_to_nat(norm);
    }
    static double conv_direct_param_nat_to_norm(double nat) {
        return Law::conv_direct_nat_to_norm(nat);
    }
    // Normalised value of a gain of 1, in single precision.
    static double get_direct_default_norm_val() { return conv_direct_param_nat_to_norm(1); }
    static double get_direct_val_min() { return 0; }
    static double get_direct_val_max() { return 16; }

protected:
    int do_get_prop(Prop& prop) const override; // all but the name and the direction
    int do_conv_norm_to_nat(double norm, double& nat) const override;
    int do_conv_nat_to_norm(double nat, double& norm) const override;
    int do_conv_to_str(double val, char* txt, long max_len) const override;
    int do_conv_from_str(char const* txt, double& val) const override;
    double do_get_val_min() const override;
    double do_get_val_max() const override;
};

} // namespace ulk::ace::baplug
