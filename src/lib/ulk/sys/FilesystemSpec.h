#pragma once

#include <string>

namespace ulk::sys {

// The rules of names in the file system. Immutable; any thread.
class FilesystemSpec {
public:
    static FilesystemSpec& use_instance();

    bool is_case_sensitive() const { return false; }
    int get_max_filename_length() const { return 1024; } // bytes
    int get_max_pathname_length() const { return 1024; } // bytes
    bool is_dir_delimiter(wchar_t c) const { return c == L'/'; }
    wchar_t get_default_dir_delimiter() const { return L'/'; }

    // Takes "." and ".." out of a path. The result has a slash before each element, the empty one
    // of absolute paths too ("//a/c"): it is a key to compare by and opens nothing. Gives 0.
    int simplify_path(std::string& path) const;

private:
    FilesystemSpec() = default;
};

} // namespace ulk::sys
