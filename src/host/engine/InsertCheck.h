#pragma once

#include "host/Bundle.h"
#include "host/session/Diagnostics.h"

namespace ulk::host::engine {

// Looks over the inserts of a session with the plug-ins themselves.
class InsertCheck {
public:
    using Session = session::Session;

    static bool has_insert(Session const& session);

    // Tells of plug-ins that the bundle does not have or that do not fit their track, and of
    // parameters and values that they do not have, each at its place. Does not sort.
    static void report(Session const& session, Bundle& bundle, session::Diagnostics& diagnostics);
};

} // namespace ulk::host::engine
