#pragma once

#include "host/session/Diagnostics.h"
#include "host/session/Node.h"

#include <optional>
#include <string_view>

namespace ulk::host::session {

// Reads TOML.
class TomlTree {
public:
    // The whole document as a table; nothing, and an error in diagnostics, if it is none. Only the
    // first mistake against the language is told.
    static std::optional<Node> parse(std::string_view txt, int file, Diagnostics& diagnostics);
};

} // namespace ulk::host::session
