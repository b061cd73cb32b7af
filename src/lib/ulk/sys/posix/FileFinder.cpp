#include "ulk/sys/posix/FileFinder.h"

#include "ulk/sys/posix/SysCall.h"

#include <vector>

#include <fcntl.h>

namespace ulk::sys::posix {

namespace {

// Of an absolute path; the root is its own parent.
std::string get_parent(std::string const& path) {
    auto const pos = path.find_last_of('/');
    return pos == 0 ? "/" : path.substr(0, pos);
}

std::string join(std::string const& dir_path, std::string const& name) {
    return dir_path == "/" ? dir_path + name : dir_path + "/" + name;
}

} // namespace

int FileFinder::find() {
    int fd = open_if_same(_path, 0);
    // Without proof, an inode found anywhere else is most likely another file.
    if (fd < 0 && _identity.has_proof()) {
        fd = find_by_handle();
        if (fd < 0) {
            fd = search_near();
        }
    }
    return fd;
}

int FileFinder::open_if_same(std::string const& path, int flags) const {
    int const fd = SysCall::open(path.c_str(), O_PATH | flags);
    return fd >= 0 ? check(fd) : -1;
}

int FileFinder::check(int fd) const {
    FileIdentity found;
    if (!found.read_from(fd) || !_identity.is_same_file(found)) {
        SysCall::close(fd);
        return -1;
    }
    return fd;
}

int FileFinder::find_by_handle() const {
    if (_identity.handle.bytes.empty()) {
        return -1;
    }
    // Handles count within a file system: the one that the nearest directory left is on.
    std::string dir_path = get_parent(_path);
    int dir_fd = SysCall::open(dir_path.c_str(), O_RDONLY | O_DIRECTORY);
    while (dir_fd < 0 && dir_path != "/") {
        dir_path = get_parent(dir_path);
        dir_fd = SysCall::open(dir_path.c_str(), O_RDONLY | O_DIRECTORY);
    }
    if (dir_fd < 0) {
        return -1;
    }
    int const fd = SysCall::open_handle(dir_fd, _identity.handle, O_PATH);
    SysCall::close(dir_fd);
    return fd >= 0 ? check(fd) : -1;
}

// The old directory and those in it, then the one above, with the neighbours: a directory that got
// another name is among these.
int FileFinder::search_near() {
    std::string const dir_path = get_parent(_path);
    int const fd = search_dir(dir_path, true);
    return fd >= 0 || dir_path == "/" ? fd : search_dir(get_parent(dir_path), true);
}

int FileFinder::search_dir(std::string const& dir_path, bool deep_flag) {
    int const dir_fd = SysCall::open(dir_path.c_str(), O_RDONLY | O_DIRECTORY);
    if (dir_fd < 0) {
        return -1;
    }
    int found_fd = -1;
    std::vector<std::string> sub_list;
    SysCall::list(dir_fd, [&](DirEntry const& entry) {
        if (entry.inode == _identity.inode) {
            found_fd = open_if_same(join(dir_path, entry.name), O_NOFOLLOW);
        }
        if (deep_flag && entry.maybe_dir_flag) {
            sub_list.emplace_back(join(dir_path, entry.name));
        }
        return found_fd < 0 && --_nbr_entries_left > 0;
    });
    SysCall::close(dir_fd);
    for (auto const& sub_path : sub_list) {
        if (found_fd >= 0 || _nbr_entries_left <= 0) {
            break;
        }
        found_fd = search_dir(sub_path, false);
    }
    return found_fd;
}

} // namespace ulk::sys::posix
