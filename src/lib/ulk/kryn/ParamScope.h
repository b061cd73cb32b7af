#pragma once

namespace kryn {

// Scope of a parameter. The built-in plug-ins use the global and the note scope alone.
enum ParamScope : int {
    ParamScope_GLOBAL = 0,
    ParamScope_1,
    ParamScope_2,
    ParamScope_3,
    ParamScope_4,
    ParamScope_NOTE,
    ParamScope_6,

    ParamScope_NBR_ELT
};

} // namespace kryn
