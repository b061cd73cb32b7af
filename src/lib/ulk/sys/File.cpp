#include "ulk/sys/File.h"

#include "ulk/sys/FileImpl.h"
#include "ulk/sys/FileRef.h"

namespace ulk::sys {

File::File()
    : _impl(std::make_unique<FileImpl>()) {}

File::~File() {
    if (_impl->is_open()) {
        _impl->close();
    }
}

int File::open(char const* pathname, long flags) {
    return _impl->open(pathname, flags);
}

int File::close() {
    return _impl->close();
}

bool File::is_open() const {
    return _impl->is_open();
}

long File::get_flags() const {
    return _impl->get_flags();
}

int File::read(archi::UByte* data, long len) {
    return _impl->read(data, len);
}

int File::write(archi::UByte const* data, long len) {
    return _impl->write(data, len);
}

int File::seek(archi::Int64 pos) {
    return _impl->seek(pos);
}

int File::get_pos(archi::Int64& pos) const {
    return _impl->get_pos(pos);
}

int File::get_length(archi::Int64& len) const {
    return _impl->get_length(len);
}

int File::set_length(archi::Int64 len) {
    return _impl->set_length(len);
}

int File::get_creation_date(UtcTime& date) const {
    return _impl->get_creation_date(date);
}

int File::set_creation_date(UtcTime const& date) {
    return _impl->set_creation_date(date);
}

int File::get_modification_date(UtcTime& date) const {
    return _impl->get_modification_date(date);
}

int File::set_modification_date(UtcTime const& date) {
    return _impl->set_modification_date(date);
}

int File::get_fileref(mem::SharedPtr<FileRef>& ref) const {
    return _impl->get_fileref(ref);
}

bool File::exist(char const* pathname, int kind) {
    return FileImpl::exist(pathname, kind);
}

} // namespace ulk::sys
