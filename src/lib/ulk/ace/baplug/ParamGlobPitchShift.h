#pragma once

#include "ulk/ace/baplug/ParamTapePitch.h"

namespace ulk::ace::baplug {

// Master pitch shift. Kept for the host to read; it does not sound.
class ParamGlobPitchShift : public ParamTapePitch {
protected:
    int do_get_prop(Prop& prop) const override;
};

} // namespace ulk::ace::baplug
