#pragma once

#include "host/session/Session.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace ulk::host::session {

// The lines of some places of text files, to be shown below messages. Reads the files again, up to
// the last line that is wanted; what cannot be read is not shown.
class Excerpt {
public:
    Excerpt(std::vector<std::string> const& file_arr, std::vector<Session::Place> place_arr);

    // The line, cut to the surroundings of the column, and a mark below the column; two lines, each
    // with its line feed, or nothing.
    std::string print(Session::Place place) const;

private:
    void read(std::string const& path, std::vector<Session::Place> const& place_arr,
              std::size_t beg, std::size_t end);

    std::map<std::pair<int, int>, std::string> _line_map; // by file and line
};

} // namespace ulk::host::session
