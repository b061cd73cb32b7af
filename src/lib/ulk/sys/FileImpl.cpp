#include "ulk/sys/FileImpl.h"

#include "ulk/sys/Err.h"
#include "ulk/sys/File.h"
#include "ulk/sys/FileRefFactory.h"
#include "ulk/sys/posix/FileDate.h"
#include "ulk/sys/posix/FileNode.h"
#include "ulk/sys/posix/SysCall.h"
#include "ulk/udbg/log.h"

#include <cerrno>
#include <system_error>

namespace ulk::sys {

namespace {

constexpr unsigned int creation_mask = 042;

std::string get_txt(int err) {
    return std::generic_category().message(err);
}

int get_mode(long flags) {
    if ((flags & File::Flag_WRITE) == 0) {
        return posix::FileStream::Mode_READ;
    }
    return posix::FileStream::Mode_WRITE |
           ((flags & File::Flag_CREATE) != 0 ? posix::FileStream::Mode_CREATE : 0) |
           ((flags & File::Flag_ERASE) != 0 ? posix::FileStream::Mode_ERASE : 0);
}

bool are_flags_ok(long flags) {
    if ((flags & (File::Flag_READ | File::Flag_WRITE)) == 0) {
        ULK_LOG(ERROR, "Cannot open with no read and no write permission");
        return false;
    }
    if ((flags & File::Flag_WRITE) == 0 && (flags & (File::Flag_CREATE | File::Flag_ERASE)) != 0) {
        ULK_LOG(ERROR, "We forbid opening a file with create or erase flags if no write flag.");
        return false;
    }
    return true;
}

} // namespace

int FileImpl::open(char const* pathname, long flags) {
    if ((flags & File::Flag_WRITE) != 0) {
        flags |= File::Flag_READ;
    }
    if (!are_flags_ok(flags)) {
        return Err_FILE_OPEN;
    }
    if (is_open()) {
        ULK_LOG(ERROR, "self already opened");
        return Err_FILE_OPEN;
    }
    _pathname = pathname != nullptr ? pathname : "";
    posix::SysCall::set_creation_mask(creation_mask);
    int open_flags = 0;
    if (_stream.open_descriptor(pathname, get_mode(flags), open_flags) != 0) {
        int const err = errno;
        ULK_LOG(ERROR, "::open () failed. File : %1%. errno : %2% - %3% open flags : %4X%",
                _pathname.c_str(), err, get_txt(err).c_str(), open_flags);
        return Err_FILE_OPEN;
    }
    if (_stream.start() != 0) {
        int const err = errno;
        ULK_LOG(ERROR, "::fopen () failed. File : %1%. errno : %2% - %3% open flags : %4%",
                _pathname.c_str(), err, get_txt(err).c_str(), open_flags);
        return Err_FILE_OPEN;
    }
    _flags = flags;
    return 0;
}

int FileImpl::close() {
    if (!is_open()) {
        ULK_LOG(ERROR, "fails: self is not opened");
        return Err_FILE_CLOSE;
    }
    if (_stream.close() != 0) {
        int const err = errno;
        ULK_LOG(ERROR, "::fclose () failed. with errno : %2% - %3% File : %1% ", _pathname.c_str(),
                err, get_txt(err).c_str());
        return Err_FILE_CLOSE;
    }
    return 0;
}

long FileImpl::get_flags() const {
    return check_open() ? _flags : long{Err_FILE_NOT_OPEN};
}

int FileImpl::read(archi::UByte* data, long len) {
    if (!check_open()) {
        return Err_FILE_NOT_OPEN;
    }
    long const done = _stream.read(data, len);
    if (done < 0) {
        ULK_LOG(ERROR, "::fread failed for file \"%1%\".", _pathname.c_str());
        return Err_FILE_READ;
    }
    if (done < len) {
        ULK_LOG(ERROR,
                "read(): Attempt to read file \"%1%\" past its end. Requested %2% bytes, read %3%.",
                _pathname.c_str(), len, done);
        return Err_FILE_READ_PAST_END;
    }
    return 0;
}

int FileImpl::write(archi::UByte const* data, long len) {
    if (!check_open()) {
        return Err_FILE_NOT_OPEN;
    }
    if (_stream.write(data, len) != 0) {
        ULK_LOG(ERROR, "::fwrite failed for file \"%1%\".", _pathname.c_str());
        return Err_FILE_WRITE;
    }
    return 0;
}

int FileImpl::seek(archi::Int64 pos) {
    if (!check_open()) {
        return Err_FILE_NOT_OPEN;
    }
    if (_stream.seek(pos) != 0) {
        int const err = errno;
        ULK_LOG(ERROR, "::fseeko failed [errno = %2% - %3%] File \"%1%\".", _pathname.c_str(), err,
                get_txt(err).c_str());
        return Err_FILE_SEEK;
    }
    return 0;
}

int FileImpl::get_pos(archi::Int64& pos) const {
    if (!check_open()) {
        return Err_FILE_NOT_OPEN;
    }
    if (_stream.get_pos(pos) != 0) {
        int const err = errno;
        ULK_LOG(ERROR, "::ftello failed [errno = %2% - %3%] File \"%1%\".", _pathname.c_str(), err,
                get_txt(err).c_str());
        return Err_FILE_GET_POS;
    }
    return 0;
}

int FileImpl::get_length(archi::Int64& len) {
    if (!check_open()) {
        return Err_FILE_NOT_OPEN;
    }
    if (_stream.flush() != 0) {
        int const err = errno;
        ULK_LOG(WARNING,
                "::fflush failed [errno = %2% - %3%] File: \"%1%\". Length might not be accurate",
                _pathname.c_str(), err, get_txt(err).c_str());
    }
    posix::FileStat info;
    if (posix::SysCall::stat(_stream.get_descriptor(), info) != 0) {
        int const err = errno;
        ULK_LOG(ERROR, "::fstat64 failed [errno = %2% - %3%] File \"%1%\".", _pathname.c_str(), err,
                get_txt(err).c_str());
        return Err_FILE_GET_LENGTH;
    }
    len = info.len;
    return 0;
}

int FileImpl::set_length(archi::Int64 len) {
    if (!check_open()) {
        return Err_FILE_NOT_OPEN;
    }
    if (_stream.set_len(len) != 0) {
        int const err = errno;
        ULK_LOG(ERROR, "::ftruncate failed [errno = %2% - %3%] File \"%1%\".", _pathname.c_str(),
                err, get_txt(err).c_str());
        return Err_FILE_SET_LENGTH;
    }
    return 0;
}

// The texts of the dates name each other's operations; they are looked for in logs as they are.
int FileImpl::get_creation_date(UtcTime& date) const {
    if (!check_open()) {
        return Err_FILE_NOT_OPEN;
    }
    int const err = posix::FileDate::get_creation(date, _stream.get_descriptor());
    if (err != 0) {
        ULK_LOG(ERROR,
                "set_creation_date(): Cannot set modification date of file \"%1%\"  because "
                "FSSetCatalogInfo returned Mac error code %2%.",
                _pathname.c_str(), err);
        return Err_FILE_GET_CREATION_DATE;
    }
    return 0;
}

int FileImpl::set_creation_date(UtcTime const& date) {
    if (!check_open()) {
        return Err_FILE_NOT_OPEN;
    }
    // Pending bytes are written first, or their writing would date the file anew.
    int const err = _stream.flush() != 0
                        ? errno
                        : posix::FileDate::set_creation(_stream.get_descriptor(), date);
    if (err != 0) {
        ULK_LOG(ERROR,
                "set_creation_date(): Cannot set create date of file \"%1%\"  because "
                "FSSetCatalogInfo returned Mac error code %2%.",
                _pathname.c_str(), err);
        return Err_FILE_SET_CREATION_DATE;
    }
    return 0;
}

int FileImpl::get_modification_date(UtcTime& date) const {
    if (!check_open()) {
        return Err_FILE_NOT_OPEN;
    }
    int const err = posix::FileDate::get_modification(date, _stream.get_descriptor());
    if (err != 0) {
        ULK_LOG(ERROR,
                "set_creation_date(): Cannot set modification date of file \"%1%\"  because "
                "FSSetCatalogInfo returned Mac error code %2%.",
                _pathname.c_str(), err);
        return Err_FILE_GET_MODIFICATION_DATE;
    }
    return 0;
}

int FileImpl::set_modification_date(UtcTime const& date) {
    if (!check_open()) {
        return Err_FILE_NOT_OPEN;
    }
    int const err = _stream.flush() != 0
                        ? errno
                        : posix::FileDate::set_modification(_stream.get_descriptor(), date);
    if (err != 0) {
        ULK_LOG(ERROR,
                "set_creation_date(): Cannot set modification date of file \"%1%\"  because "
                "FSSetCatalogInfo returned Mac error code %2%.",
                _pathname.c_str(), err);
        return Err_FILE_SET_MODIFICATION_DATE;
    }
    return 0;
}

int FileImpl::get_fileref(mem::SharedPtr<FileRef>& ref) const {
    if (!check_open()) {
        return Err_FILE_NOT_OPEN;
    }
    // Made from the descriptor: the path may name another file by now.
    auto const result =
        FileRefFactory::from_fsref(posix::FileNode::from_descriptor(_stream.get_descriptor()));
    if (result.get() == nullptr) {
        ULK_LOG(ERROR, "get_fileref(): Error for file \"%1%\" with flags %2rm8w0b%b.",
                _pathname.c_str(), _flags);
        return Err_FILE_GET_FILEREF;
    }
    ref = result;
    return 0;
}

// Links are followed: what counts is where the path leads.
bool FileImpl::exist(char const* pathname, int kind) {
    enum { Kind_FILE = 1, Kind_DIRECTORY = 2 };
    posix::FileStat info;
    if (pathname == nullptr || posix::SysCall::stat(pathname, info) != 0) {
        return false;
    }
    return kind == (info.directory_flag ? Kind_DIRECTORY : Kind_FILE);
}

bool FileImpl::check_open() const {
    if (!is_open()) {
        ULK_LOG(ERROR, "File is not opened");
    }
    return is_open();
}

} // namespace ulk::sys
