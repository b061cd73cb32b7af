#pragma once

#include "ulk/ace/baplug/ParamNatural.h"

namespace ulk::ace::baplug {

// What the pitches of Tape share: two octaves up and down, in semitones.
class ParamTapePitch : public ParamNatural {
protected:
    int do_get_prop(Prop& prop) const override; // all but the name, the flags and the direction
    int do_conv_to_str(double val, char* txt, long max_len) const override;
    int do_conv_from_str(char const* txt, double& val) const override; // limited to the range
    double do_get_val_min() const override;
    double do_get_val_max() const override;
};

} // namespace ulk::ace::baplug
