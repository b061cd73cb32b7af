#pragma once

namespace kryn {

// Direction of a pin, as seen from the plug-in; the index into AudioConf::port_arr.
enum PinDir : int {
    PinDir_IN = 0,
    PinDir_OUT,

    PinDir_NBR_ELT
};

} // namespace kryn
