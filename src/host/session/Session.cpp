#include "host/session/Session.h"

namespace ulk::host::session {

std::string Session::tell(Place const& place) const {
    std::string text = file_arr[static_cast<std::size_t>(place.file)];
    if (place.line > 0) {
        text += ':';
        text += std::to_string(place.line);
        text += ':';
        text += std::to_string(place.column);
    }
    return text;
}

} // namespace ulk::host::session
