#pragma once

#include "ulk/ace/baplug/ParamTapePitch.h"

namespace ulk::ace::baplug {

// Pitch of a note, and its speed with it.
class ParamSplPitch : public ParamTapePitch {
protected:
    int do_get_prop(Prop& prop) const override;
};

} // namespace ulk::ace::baplug
