#pragma once

#include "ulk/ace/baplug/ParamTapeVol.h"

namespace ulk::ace::baplug {

// Volume of a note.
class ParamSplVol : public ParamTapeVol {
protected:
    int do_get_prop(Prop& prop) const override;
};

} // namespace ulk::ace::baplug
