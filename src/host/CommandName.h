#pragma once

#include <string>

namespace ulk::host {

class CommandName {
public:
    // What the protocol calls a command, or its number. Any thread.
    static std::string find(int cmd);
};

} // namespace ulk::host
