#include "ulk/sys/FileRefImpl.h"

#include "ulk/sys/Err.h"
#include "ulk/sys/posix/FileCatalog.h"
#include "ulk/sys/posix/FileNode.h"
#include "ulk/udbg/log.h"

#include <cerrno>
#include <stdexcept>

namespace ulk::sys {

FileRefImpl::FileRefImpl(FSRef const& ref)
    : _ref(ref) {}

FileRefImpl::FileRefImpl(FileRefImpl const& other)
    : _ref(other._ref)
    , _info(other._info != nullptr ? new util::FileDescriptor(*other._info) : nullptr)
    , _stale_flag(other._stale_flag) {}

bool FileRefImpl::is_directory() const {
    return get_info().is_directory();
}

bool FileRefImpl::is_hidden() const {
    return get_info().is_hidden();
}

bool FileRefImpl::is_read_only() const {
    return get_info().is_read_only();
}

std::string FileRefImpl::get_name() const {
    return get_info().get_name();
}

util::FileDescriptor const& FileRefImpl::get_info() const {
    update();
    return *_info;
}

void FileRefImpl::update_info() const {
    _stale_flag = true;
    update();
}

int FileRefImpl::save(std::vector<archi::UByte>& bytes) const {
    if (!_ref->save(bytes)) {
        ULK_LOG(ERROR, "FSNewAliasMinimal failed with error %1%", errno);
        return Err_FILE_GET_FILEREF;
    }
    return 0;
}

std::string FileRefImpl::to_fopen() const {
    std::string path;
    if (!_ref->get_path(path)) {
        throw std::runtime_error("ulk::sys::FileRefImpl::conv_to_fopen : FSRefMakePath failed");
    }
    return path;
}

bool FileRefImpl::operator<(FileRefImpl const& other) const {
    return get_bytes() < other.get_bytes();
}

bool FileRefImpl::operator==(FileRefImpl const& other) const {
    return get_bytes() == other.get_bytes();
}

void FileRefImpl::update() const {
    if (!_stale_flag) {
        return;
    }
    auto info = std::make_unique<util::FileDescriptor>();
    int const err = posix::FileCatalog::read(*info, *_ref);
    if (err != 0) {
        ULK_LOG(ERROR, "FSGetCatalogInfo failed with error %1%", err);
    }
    _info = std::move(info);
    _stale_flag = false;
}

// A file without a path compares by its identity alone.
std::vector<archi::UByte> FileRefImpl::get_bytes() const {
    std::vector<archi::UByte> bytes;
    save(bytes);
    return bytes;
}

} // namespace ulk::sys
