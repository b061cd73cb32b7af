#include "ulk/sys/FileRef.h"

#include "ulk/sys/FileRefImpl.h"

namespace ulk::sys {

FileRef::FileRef(FSRef const& ref)
    : _impl(std::make_unique<FileRefImpl>(ref)) {}

FileRef::FileRef(FileRef const& other)
    : _impl(std::make_unique<FileRefImpl>(*other._impl)) {}

FileRef& FileRef::operator=(FileRef const& other) {
    _impl = std::make_unique<FileRefImpl>(*other._impl);
    return *this;
}

FileRef::~FileRef() = default;

bool FileRef::is_directory() const {
    return _impl->is_directory();
}

bool FileRef::is_hidden() const {
    return _impl->is_hidden();
}

bool FileRef::is_read_only() const {
    return _impl->is_read_only();
}

std::string FileRef::get_name() const {
    return _impl->get_name();
}

util::FileDescriptor const& FileRef::get_info() const {
    return _impl->get_info();
}

void FileRef::update_info() const {
    _impl->update_info();
}

int FileRef::save(std::vector<archi::UByte>& bytes) const {
    return _impl->save(bytes);
}

std::string FileRef::to_utf8_path() const {
    return _impl->to_fopen();
}

FSRef const& FileRef::get_fs_ref() const {
    return _impl->get_fs_ref();
}

bool FileRef::operator<(FileRef const& other) const {
    return *_impl < *other._impl;
}

bool FileRef::operator==(FileRef const& other) const {
    return *_impl == *other._impl;
}

} // namespace ulk::sys
