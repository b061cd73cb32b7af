#pragma once

#include "ulk/ace/Constants.h"
#include "ulk/ace/baplug/ParamNatural.h"

namespace ulk::ace::baplug {

// Sample that a note plays: the identifier by which the host knows it, an integer of 48 bits, which
// a double carries exactly. Its text is in hexadecimal.
class ParamSplId : public ParamNatural {
public:
    static constexpr double _min_val = 0;
    static constexpr double _max_val =
        static_cast<double>((1LL << Constants::TAPE_SPL_ID_BIT_DEPTH) - 1);

protected:
    int do_get_prop(Prop& prop) const override;
    int do_conv_to_str(double val, char* txt, long max_len) const override;
    int do_conv_from_str(char const* txt, double& val) const override;
    double do_get_val_min() const override;
    double do_get_val_max() const override;
};

} // namespace ulk::ace::baplug
