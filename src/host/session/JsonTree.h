#pragma once

#include "host/session/Diagnostics.h"
#include "host/session/Node.h"

#include <optional>
#include <string_view>

namespace ulk::host::session {

// Reads JSON.
class JsonTree {
public:
    // The whole document, whatever value it is; nothing, and an error in diagnostics, if it is
    // none. Only the first mistake against the language is told, and all names that stand twice.
    static std::optional<Node> parse(std::string_view txt, int file, Diagnostics& diagnostics);
};

} // namespace ulk::host::session
