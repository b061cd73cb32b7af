#pragma once

#include <string>

namespace ulk::host::render {

// Times for people: "1:02:03.500", "2:03.500", with as many decimals of the second (0 to 9).
class TimeText {
public:
    static std::string print(double s, int nbr_decimals);
};

} // namespace ulk::host::render
