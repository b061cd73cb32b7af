#pragma once

#include <filesystem>

namespace ulk::host::session {

// A folder that is being filled. What was put there is taken away again unless it is kept, and the
// folder itself if it was made here.
class NewFolder {
public:
    // The folder is empty, or not there in a folder that is. Throws an Error of Kind_USE if it is
    // not empty or no folder, of Kind_IO if it cannot be made.
    explicit NewFolder(std::filesystem::path const& path);
    NewFolder(NewFolder const&) = delete;
    NewFolder& operator=(NewFolder const&) = delete;
    ~NewFolder();

    void keep() { _keep_flag = true; }
    std::filesystem::path const& get_path() const { return _path; }

private:
    std::filesystem::path _path;
    bool _made_flag = false;
    bool _keep_flag = false;
};

} // namespace ulk::host::session
