#include "host/session/QuotedText.h"

#include <algorithm>

namespace ulk::host::session {

std::size_t QuotedText::find_end(std::string_view txt, std::size_t pos) {
    char const quote = txt[pos];
    std::string const marks(3, quote);
    bool const long_flag = txt.substr(pos, 3) == marks;
    std::size_t const len = long_flag ? 3 : 1;
    for (pos += len; pos < txt.size(); ++pos) {
        char const c = txt[pos];
        if (c == '\\' && quote == '"') {
            ++pos;
        } else if (c == '\n' && !long_flag) {
            return pos;
        } else if (txt.substr(pos, len) == std::string_view(marks).substr(0, len)) {
            // A long text may end in two quotes of its own.
            std::size_t const end = std::min(txt.find_first_not_of(quote, pos), txt.size());
            return std::min(end, pos + (long_flag ? 5 : 1));
        }
    }
    return txt.size();
}

std::string QuotedText::quote(std::string_view txt) {
    std::string quoted = "\"";
    for (char const c : txt) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
        }
        quoted += c;
    }
    return quoted += '"';
}

} // namespace ulk::host::session
