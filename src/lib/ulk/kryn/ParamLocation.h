#pragma once

#include "ulk/kryn/ParamScope.h"

#include <cstddef>

namespace kryn {

// Where a parameter lives.
struct ParamLocation {
    ParamScope scope;
    int note_id; // note that the parameter belongs to; ignored in the global scope
    int index;   // index in the scope's parameter list
};

static_assert(offsetof(ParamLocation, scope) == 0);
static_assert(offsetof(ParamLocation, note_id) == 4);
static_assert(offsetof(ParamLocation, index) == 8);
static_assert(sizeof(ParamLocation) == 12);

} // namespace kryn
