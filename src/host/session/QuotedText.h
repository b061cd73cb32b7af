#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ulk::host::session {

// Texts in quotes, as TOML and JSON have them: between single quotes, between double ones, in which
// a backslash takes the next character along, and between three of either.
class QuotedText {
public:
    // The offset behind the text whose first quote stands at pos. A text without an end goes up to
    // the end of the line, or of txt.
    static std::size_t find_end(std::string_view txt, std::size_t pos);

    // A text without control characters between double quotes.
    static std::string quote(std::string_view txt);
};

} // namespace ulk::host::session
