#include "ulk/sys/posix/FileCatalog.h"

#include "ulk/sys/UtcTime.h"
#include "ulk/sys/posix/FileDate.h"
#include "ulk/sys/posix/FileNode.h"
#include "ulk/sys/posix/SysCall.h"
#include "ulk/util/FileDescriptor.h"

#include <cerrno>
#include <string>

namespace ulk::sys::posix {

namespace {

// The 32 bytes of Finder information, as servers and copying tools keep them on file systems that
// know nothing of it. The flags are a big-endian word at offset 8, for files and directories alike.
constexpr char finder_attribute_name[] = "user.com.apple.FinderInfo";
constexpr int finder_info_len = 32;
constexpr int finder_flags_pos = 8;
constexpr unsigned int finder_bundle = 0x2000;
constexpr unsigned int finder_invisible = 0x4000;

unsigned int read_finder_flags(int fd) {
    unsigned char info[finder_info_len];
    if (SysCall::get_attribute(fd, finder_attribute_name, info, finder_info_len) !=
        finder_info_len) {
        return 0;
    }
    return info[finder_flags_pos] * 256U + info[finder_flags_pos + 1];
}

// The last element of the path; the root has its path for a name.
int read_name(std::string& name, FileNode const& node) {
    std::string path;
    if (!node.get_path(path)) {
        return errno;
    }
    name = path == "/" ? path : path.substr(path.find_last_of('/') + 1);
    return 0;
}

} // namespace

int FileCatalog::read(util::FileDescriptor& info, FileNode const& node) {
    std::string name;
    int err = read_name(name, node);
    UtcTime creation_date;
    UtcTime modification_date;
    FileStat stat;
    int const fd = node.get_descriptor();
    if (SysCall::stat(fd, stat) != 0) {
        err = errno;
    } else {
        int const date_err = FileDate::get_creation(creation_date, fd);
        int const mod_err = FileDate::get_modification(modification_date, fd);
        err = date_err != 0 ? date_err : mod_err != 0 ? mod_err : err;
    }
    unsigned int const finder_flags = read_finder_flags(fd);
    bool const package_flag = (finder_flags & finder_bundle) != 0; // shows as a file
    bool const hidden_flag = (finder_flags & finder_invisible) != 0 || name.starts_with('.');
    int const flags = util::FileDescriptor::make_flags(stat.directory_flag && !package_flag,
                                                       stat.read_only_flag, hidden_flag, false);
    archi::Int64 const len = stat.directory_flag ? 0 : stat.len;
    info = util::FileDescriptor(name, creation_date, modification_date, len, flags);
    return err;
}

} // namespace ulk::sys::posix
