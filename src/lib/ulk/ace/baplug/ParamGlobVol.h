#pragma once

#include "ulk/ace/baplug/ParamTapeVol.h"

namespace ulk::ace::baplug {

// Master volume.
class ParamGlobVol : public ParamTapeVol {
protected:
    int do_get_prop(Prop& prop) const override;
};

} // namespace ulk::ace::baplug
