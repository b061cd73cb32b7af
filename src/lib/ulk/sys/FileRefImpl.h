#pragma once

#include "ulk/archi/types.h"
#include "ulk/sys/FSRef.h"
#include "ulk/util/FileDescriptor.h"

#include <memory>
#include <string>
#include <vector>

namespace ulk::sys {

// What stands behind a FileRef: the same operations, with the same meaning.
class FileRefImpl {
public:
    explicit FileRefImpl(FSRef const& ref); // not null
    FileRefImpl(FileRefImpl const& other);
    FileRefImpl& operator=(FileRefImpl const&) = delete;
    virtual ~FileRefImpl() = default;

    bool is_directory() const;
    bool is_hidden() const;
    bool is_read_only() const;
    std::string get_name() const;
    util::FileDescriptor const& get_info() const;
    void update_info() const;

    int save(std::vector<archi::UByte>& bytes) const;
    std::string to_fopen() const;
    FSRef const& get_fs_ref() const { return _ref; }

    bool operator<(FileRefImpl const& other) const;
    bool operator==(FileRefImpl const& other) const;

private:
    void update() const;
    std::vector<archi::UByte> get_bytes() const;

    FSRef _ref;
    mutable std::unique_ptr<util::FileDescriptor> _info; // null until needed
    mutable bool _stale_flag = true;
};

} // namespace ulk::sys
