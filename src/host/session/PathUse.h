#pragma once

#include "host/session/Session.h"

#include <string>

namespace ulk::host::session {

// A path that stands in a file of a session.
struct PathUse {
    enum class Kind { SAMPLE, CLIP_LIST };

    Kind kind;
    Session::Place place; // of the text's first character, or its quote
    std::string path;     // as the program opens it
    std::string name;     // the short name that is given to it, if one is
};

} // namespace ulk::host::session
