#pragma once

namespace ulk::util {
class FileDescriptor;
}

namespace ulk::sys::posix {

class FileNode;

// What the file system tells of a node.
class FileCatalog {
public:
    // 0, or an errno; what could be had is in the record then.
    static int read(util::FileDescriptor& info, FileNode const& node);
};

} // namespace ulk::sys::posix
