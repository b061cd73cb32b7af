#include "ulk/sys/posix/FileNode.h"

#include "ulk/sys/CritSec.h"
#include "ulk/sys/Mutex.h"
#include "ulk/sys/posix/FileFinder.h"
#include "ulk/sys/posix/SysCall.h"
#include "ulk/util/BinaryStreamInput.h"
#include "ulk/util/BinaryStreamOutput.h"

#include <cerrno>
#include <map>
#include <utility>

#include <fcntl.h>

namespace ulk::sys::posix {

namespace {

constexpr archi::UInt32 version = 1;

// The nodes alive, by device and inode.
struct Registry {
    using Key = std::pair<archi::UInt64, archi::UInt64>;

    // Never destroyed: nodes may outlive all statics.
    static Registry& use_instance() {
        static Registry& instance = *new Registry;
        return instance;
    }

    Mutex mutex;
    std::map<Key, std::weak_ptr<FileNode const>> node_map;
};

bool parse(FileIdentity& identity, std::string& path, std::vector<archi::UByte> const& bytes) {
    util::BinaryStreamInput stream(bytes);
    archi::UInt32 found_version = 0;
    return stream.read(found_version, nullptr) == 0 && found_version == version &&
           identity.read(stream) == 0 && stream.read(path, nullptr) == 0 && stream.empty() &&
           path.starts_with('/') && path.find('\0') == std::string::npos;
}

} // namespace

FileNode::Ptr FileNode::from_path(std::string const& path) {
    if (path.find('\0') != std::string::npos) { // would name another file
        errno = EINVAL;
        return nullptr;
    }
    int const fd = SysCall::open(path.c_str(), O_PATH);
    return fd >= 0 ? adopt(fd) : nullptr;
}

FileNode::Ptr FileNode::from_descriptor(int fd) {
    // The descriptor's link leads to its inode even where the path has gone.
    return from_path("/proc/self/fd/" + std::to_string(fd));
}

FileNode::Ptr FileNode::load(std::vector<archi::UByte> const& bytes) {
    FileIdentity identity;
    std::string path;
    if (!parse(identity, path, bytes)) {
        errno = EINVAL;
        return nullptr;
    }
    int const fd = FileFinder(identity, path).find();
    if (fd < 0) {
        errno = ENOENT;
        return nullptr;
    }
    // A handle also opens what no path leads to: files that are removed, and those out of reach.
    Ptr const node = adopt(fd);
    std::string found_path;
    return node != nullptr && node->get_path(found_path) ? node : nullptr;
}

FileNode::~FileNode() {
    Registry& registry = Registry::use_instance();
    {
        CritSec const lock(registry.mutex, true);
        // By now the entry may be that of a younger node.
        auto const it = registry.node_map.find({_identity.device, _identity.inode});
        if (it != registry.node_map.end() && it->second.expired()) {
            registry.node_map.erase(it);
        }
    }
    SysCall::close(_fd);
}

bool FileNode::save(std::vector<archi::UByte>& bytes) const {
    std::string path;
    bool const path_flag = get_path(path);
    int const err = errno;
    bytes.clear();
    util::BinaryStreamOutput stream(bytes);
    stream.write(version);
    _identity.write(stream);
    stream.write(path);
    errno = err;
    return path_flag;
}

bool FileNode::get_path(std::string& path) const {
    std::string found_path;
    if (SysCall::get_path(_fd, found_path) != 0) {
        return false;
    }
    // The kernel goes on telling the last path of a file that was removed, with a remark behind it.
    FileStat info;
    if (SysCall::stat(found_path.c_str(), info) != 0) {
        return false;
    }
    if (info.device != _identity.device || info.inode != _identity.inode) {
        errno = ENOENT;
        return false;
    }
    path = found_path;
    return true;
}

// The descriptor belongs to the node, or is closed.
FileNode::Ptr FileNode::adopt(int fd) {
    FileIdentity identity;
    if (!identity.read_from(fd)) {
        int const err = errno;
        SysCall::close(fd);
        errno = err;
        return nullptr;
    }
    // Before the lock, to be destroyed after it: the destructor takes it too.
    Ptr const fresh(new FileNode(fd, identity));
    Registry& registry = Registry::use_instance();
    CritSec const lock(registry.mutex, true);
    auto& entry = registry.node_map[{identity.device, identity.inode}];
    if (Ptr node = entry.lock()) {
        return node;
    }
    entry = fresh;
    return fresh;
}

} // namespace ulk::sys::posix
