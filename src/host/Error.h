#pragma once

#include <stdexcept>
#include <string>

namespace ulk::host {

// A failure told to the user; the text names the file, plug-in or field and what to do.
class Error : public std::runtime_error {
public:
    // What went wrong, by whose doing; the values are the exit codes of the command.
    enum Kind : int {
        Kind_USE = 1,      // wrong call
        Kind_MATERIAL = 2, // missing or unusable file, bundle or plug-in
        Kind_LOST = 3,     // done, but with something lost or found wrong
        Kind_IO = 4        // reading or writing failed on the way
    };

    Error(Kind kind, std::string const& text)
        : std::runtime_error(text)
        , _kind(kind) {}

    Kind get_kind() const { return _kind; }

private:
    Kind _kind;
};

} // namespace ulk::host
