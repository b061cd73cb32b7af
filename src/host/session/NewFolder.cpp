#include "host/session/NewFolder.h"

#include "host/Error.h"

#include <string>

namespace ulk::host::session {

namespace fs = std::filesystem;

NewFolder::NewFolder(fs::path const& path)
    : _path(path) {
    std::error_code error;
    if (!fs::exists(path, error)) {
        _made_flag = fs::create_directory(path, error);
        if (!_made_flag) {
            throw Error(Error::Kind_IO, path.string() + ": cannot be made: " + error.message());
        }
        return;
    }
    if (!fs::is_directory(path, error)) {
        throw Error(Error::Kind_USE, path.string() + ": is no folder");
    }
    bool const empty_flag = fs::is_empty(path, error);
    if (error) {
        throw Error(Error::Kind_IO, path.string() + ": cannot be read: " + error.message());
    }
    if (!empty_flag) {
        throw Error(Error::Kind_USE, path.string() + ": is not empty; give a new or empty folder");
    }
}

NewFolder::~NewFolder() {
    if (_keep_flag) {
        return;
    }
    std::error_code ignored;
    for (auto const& entry : fs::directory_iterator(_path, ignored)) {
        fs::remove_all(entry.path(), ignored);
    }
    if (_made_flag) {
        fs::remove(_path, ignored);
    }
}

} // namespace ulk::host::session
