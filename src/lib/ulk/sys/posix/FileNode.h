#pragma once

#include "ulk/archi/types.h"
#include "ulk/sys/posix/FileIdentity.h"

#include <memory>
#include <string>
#include <vector>

namespace ulk::sys::posix {

// A file or directory by itself, whatever becomes of its path: a descriptor that holds its inode
// and gives no access to its bytes. A process has one node an inode at most, so that all who name a
// file by whatever link name it alike. Immutable, and safe from any thread.
class FileNode {
public:
    using Ptr = std::shared_ptr<FileNode const>;

    // Null and errno on failure.
    static Ptr from_path(std::string const& path); // follows symbolic links
    static Ptr from_descriptor(int fd);            // of any kind; stays the caller's

    // From what save() gave: by the path, else by the file system's handle, else by a search near
    // the path. Null and errno rather than another file, or one without a path.
    static Ptr load(std::vector<archi::UByte> const& bytes);

    FileNode(FileNode const&) = delete;
    FileNode& operator=(FileNode const&) = delete;
    ~FileNode();

    // Replaces `bytes` by an image of the file's identity and path, which changes only when the
    // file moves. False and errno if there is no path any more; the image has an empty one then
    // and can't be loaded.
    bool save(std::vector<archi::UByte>& bytes) const;

    // The present path. False and errno if the file has none any more.
    bool get_path(std::string& path) const;

    int get_descriptor() const { return _fd; }

private:
    FileNode(int fd, FileIdentity const& identity)
        : _fd(fd)
        , _identity(identity) {}

    static Ptr adopt(int fd);

    int _fd;
    FileIdentity _identity;
};

} // namespace ulk::sys::posix
