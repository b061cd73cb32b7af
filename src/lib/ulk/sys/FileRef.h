#pragma once

#include "ulk/archi/types.h"
#include "ulk/sys/FSRef.h"

#include <memory>
#include <string>
#include <vector>

namespace ulk::util {
class FileDescriptor;
}

namespace ulk::sys {

class FileRefImpl;

// Names a file or directory in a way that outlives its being renamed or moved, and can be saved.
// Made by FileRefFactory and File. Two references to one file are equal. One thread at a time: what
// is known of the file is read when first asked for, and kept until update_info().
class FileRef {
public:
    explicit FileRef(FSRef const& ref); // not null
    FileRef(FileRef const& other);
    FileRef& operator=(FileRef const& other);
    virtual ~FileRef();

    bool is_directory() const; // a package counts as a file
    bool is_hidden() const;
    bool is_read_only() const;
    std::string get_name() const; // without its directories
    util::FileDescriptor const& get_info() const;
    void update_info() const;

    // Replaces `bytes`, for FileRefFactory::load(). 0, or Err_FILE_GET_FILEREF if the file was
    // removed.
    int save(std::vector<archi::UByte>& bytes) const;

    // The present path. Throws std::runtime_error if the file was removed.
    std::string to_utf8_path() const;

    FSRef const& get_fs_ref() const;

    // The order of the saved bytes.
    bool operator<(FileRef const& other) const;
    bool operator==(FileRef const& other) const;
    bool operator!=(FileRef const& other) const { return !(*this == other); }

private:
    std::unique_ptr<FileRefImpl> _impl;
};

} // namespace ulk::sys
