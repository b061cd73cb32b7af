#pragma once

#include "host/session/ClipReader.h"

#include <string_view>
#include <vector>

namespace ulk::host::session {

// Reads lists of clips as comma-separated values: a line with the names of fields, then a line for
// each clip. A field with a comma, a quote or a line feed stands in double quotes, in which a
// doubled quote means one. Blanks around fields, empty fields, empty lines and lines that start
// with # count as nothing.
class ClipList {
public:
    // Adds the clips of a text. Tells all mistakes to diagnostics.
    static void parse(std::string_view txt, int file, ClipReader& reader,
                      std::vector<Session::Clip>& clip_arr, Diagnostics& diagnostics);
};

} // namespace ulk::host::session
