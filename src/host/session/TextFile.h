#pragma once

#include <cstddef>
#include <string>

namespace ulk::host::session {

class TextFile {
public:
    static constexpr std::size_t max_len = std::size_t(128) << 20;

    // The whole file. Throws an Error that names it: of Kind_MATERIAL if it cannot be opened or is
    // longer than max_len bytes, of Kind_IO if reading fails.
    static std::string read(std::string const& path);
};

} // namespace ulk::host::session
