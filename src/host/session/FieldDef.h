#pragma once

#include "host/session/Node.h"

namespace ulk::host::session {

// A field that a table may have, and the member of Reader that puts its value into a Target. The
// fields of a table are read in the order of their list, whatever that of the file is.
template <class Reader, class Target>
struct FieldDef {
    char const* name;
    void (Reader::*read)(Node const&, Target&);
    bool required_flag = false;
};

} // namespace ulk::host::session
