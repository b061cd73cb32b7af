#pragma once

#include "host/session/Session.h"

#include <string>

namespace ulk::host::session {

// What is to be told about one place of a session's files.
struct Diagnostic {
    enum class Severity {
        ERROR,   // the session cannot be used
        WARNING, // it can, but probably not as meant
    };

    Session::Place place;
    Severity severity = Severity::ERROR;
    std::string text;

    static char const* get_name(Severity severity) {
        return severity == Severity::ERROR ? "error" : "warning";
    }
};

} // namespace ulk::host::session
