#include "host/session/TextFile.h"

#include "host/Error.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace ulk::host::session {

std::string TextFile::read(std::string const& path) {
    std::error_code ignored;
    auto const status = std::filesystem::status(path, ignored);
    if (std::filesystem::is_directory(status)) {
        throw Error(Error::Kind_MATERIAL, path + ": is a folder");
    }
    // A pipe that nobody writes to would be waited for.
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw Error(Error::Kind_MATERIAL, path + ": is no regular file");
    }
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) {
        throw Error(Error::Kind_MATERIAL, path + ": cannot be read: " + std::strerror(errno));
    }
    constexpr std::size_t step = 1 << 20;
    std::string txt;
    while (file && txt.size() <= max_len) {
        std::size_t const len = txt.size();
        txt.resize(len + step);
        file.read(txt.data() + len, static_cast<std::streamsize>(step));
        txt.resize(len + static_cast<std::size_t>(file.gcount()));
    }
    if (file.bad()) {
        throw Error(Error::Kind_IO, path + ": reading failed");
    }
    if (txt.size() > max_len) {
        throw Error(Error::Kind_MATERIAL, path + ": is longer than " +
                                              std::to_string(max_len >> 20) +
                                              " MB, which is too long for a session");
    }
    return txt;
}

} // namespace ulk::host::session
