#include "ulk/sys/posix/FileIdentity.h"

#include "ulk/sys/posix/SysCall.h"
#include "ulk/util/BinaryStreamInput.h"
#include "ulk/util/BinaryStreamOutputBase.h"

#include <cerrno>

namespace ulk::sys::posix {

namespace {

// File systems and sandboxes that have or give no handles.
bool is_absence(int err) {
    return err == EOPNOTSUPP || err == ENOSYS || err == EOVERFLOW || err == EPERM;
}

} // namespace

bool FileIdentity::read_from(int fd) {
    FileStat info;
    if (SysCall::stat(fd, info) != 0) {
        return false;
    }
    device = info.device;
    inode = info.inode;
    birth_flag = info.birth_flag;
    birth = info.birth;
    handle = FileHandle();
    return SysCall::get_handle(fd, handle) == 0 || is_absence(errno);
}

bool FileIdentity::is_same_file(FileIdentity const& other) const {
    bool const birth_known_flag = birth_flag && other.birth_flag;
    bool const handle_known_flag = !handle.bytes.empty() && !other.handle.bytes.empty();
    if (inode != other.inode || (birth_known_flag && birth != other.birth) ||
        (handle_known_flag && handle != other.handle)) {
        return false;
    }
    return birth_known_flag || handle_known_flag || device == other.device;
}

void FileIdentity::write(util::BinaryStreamOutputBase& stream) const {
    stream.write(device);
    stream.write(inode);
    stream.write(birth_flag);
    stream.write(birth.sec);
    stream.write(birth.nsec);
    stream.write(handle.type);
    stream.write(handle.bytes);
}

int FileIdentity::read(util::BinaryStreamInput& stream) {
    int result = stream.read(device, nullptr);
    result = result == 0 ? stream.read(inode, nullptr) : result;
    result = result == 0 ? stream.read(birth_flag, nullptr) : result;
    result = result == 0 ? stream.read(birth.sec, nullptr) : result;
    result = result == 0 ? stream.read(birth.nsec, nullptr) : result;
    result = result == 0 ? stream.read(handle.type, nullptr) : result;
    return result == 0 ? stream.read(handle.bytes, nullptr) : result;
}

} // namespace ulk::sys::posix
