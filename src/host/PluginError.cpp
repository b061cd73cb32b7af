#include "host/PluginError.h"

#include "ulk/ace/Err.h"

namespace ulk::host {

namespace {

std::string describe(int code) {
    std::string const txt = ace::Err_get_text_nn(code);
    return (txt.empty() ? std::string("unknown code") : txt) + " (" + std::to_string(code) + ")";
}

} // namespace

PluginError::PluginError(std::string const& who, std::string const& cmd_name, int code)
    : Error(Kind_MATERIAL, who + ": " + cmd_name + " failed: " + describe(code))
    , _code(code) {}

} // namespace ulk::host
