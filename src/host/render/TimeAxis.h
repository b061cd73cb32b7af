#pragma once

#include <string>
#include <vector>

namespace ulk::host::render {

// Round times for the marks of an axis.
class TimeAxis {
public:
    struct Mark {
        double time; // s
        std::string label;
    };

    // Marks from 0 to duration (s), at most max_nbr of them (2 or more).
    static std::vector<Mark> make_marks(double duration, int max_nbr);
};

} // namespace ulk::host::render
