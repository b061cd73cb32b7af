#pragma once

#include <filesystem>
#include <string>

#include <stdlib.h>

namespace test {

// An empty directory of the test's own, removed with all it holds at the end of the scope.
class TempDir {
public:
    TempDir() {
        std::string path = (std::filesystem::temp_directory_path() / "tessitone-XXXXXX").string();
        _path = ::mkdtemp(path.data());
    }
    TempDir(TempDir const&) = delete;
    TempDir& operator=(TempDir const&) = delete;
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }

    std::filesystem::path const& get_path() const { return _path; }
    std::string make_name(std::string const& name) const { return (_path / name).string(); }

private:
    std::filesystem::path _path;
};

} // namespace test
