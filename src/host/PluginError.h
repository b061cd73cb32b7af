#pragma once

#include "host/Error.h"

namespace ulk::host {

// A command that a plug-in or factory answered with a failure code.
class PluginError : public Error {
public:
    // who: identifier of the object; cmd_name: name of the command.
    PluginError(std::string const& who, std::string const& cmd_name, int code);

    int get_code() const { return _code; }

private:
    int _code;
};

} // namespace ulk::host
