#pragma once

#include "ulk/sys/posix/FileIdentity.h"

#include <string>

namespace ulk::sys::posix {

// Looks for a file that may have moved since its identity and its path were saved.
class FileFinder {
public:
    // `path` is absolute.
    FileFinder(FileIdentity const& identity, std::string const& path)
        : _identity(identity)
        , _path(path) {}

    // At the path; by its handle; near the path. A descriptor that only names the file and is the
    // caller's, or -1 where the file wasn't found for sure.
    int find();

private:
    // Entries that a search reads at most: some tens of milliseconds on a disk.
    static constexpr int MAX_NBR_ENTRIES = 20000;

    int open_if_same(std::string const& path, int flags) const;
    int check(int fd) const;
    int find_by_handle() const;
    int search_near();
    int search_dir(std::string const& dir_path, bool deep_flag);

    FileIdentity const& _identity;
    std::string const& _path;
    int _nbr_entries_left = MAX_NBR_ENTRIES;
};

} // namespace ulk::sys::posix
