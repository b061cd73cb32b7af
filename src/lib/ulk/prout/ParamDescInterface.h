#pragma once

#include "ulk/prout/ParamInterface.h"

namespace ulk::prout {

// Description of a parameter, one object per parameter of a plug-in.
class ParamDescInterface : public ParamInterface {
public:
    // Range of the natural value.
    double get_val_min() const { return do_get_val_min(); }
    double get_val_max() const { return do_get_val_max(); }

protected:
    virtual double do_get_val_min() const = 0;
    virtual double do_get_val_max() const = 0;
};

} // namespace ulk::prout
