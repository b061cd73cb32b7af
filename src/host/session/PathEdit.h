#pragma once

#include "host/session/Session.h"

#include <string>
#include <string_view>
#include <vector>

namespace ulk::host::session {

// Replaces paths in the text of a session or a list of clips, and leaves everything else as it is.
class PathEdit {
public:
    enum class Language { SESSION, CSV }; // TOML and JSON quote alike

    // A path to put in place of the text that stands there.
    struct Edit {
        Session::Place place;
        std::string path;
    };

    // In any order, none twice; all of them are places of this text.
    static std::string apply(std::string_view txt, Language language, std::vector<Edit> edit_arr);
};

} // namespace ulk::host::session
