#pragma once

#include "host/ParamChange.h"

#include <string>
#include <vector>

namespace ulk::host {

// Parameter changes in a text file of comma-separated values: time, parameter, value and, if
// wanted, ramp; times in seconds. A field with a comma stands in double quotes, in which a doubled
// quote means one. Empty lines, lines that start with # and a first line of titles are skipped.
class AutomationFile {
public:
    // In the order of the lines. Throws an Error that names the file and the line.
    static std::vector<ParamChange> read(std::string const& path);

    // A time in seconds, 0 or more, with nothing behind it. origin and what: for the Error.
    static double read_time(std::string const& txt, std::string const& origin, char const* what);
};

} // namespace ulk::host
