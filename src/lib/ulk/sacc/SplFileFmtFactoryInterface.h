#pragma once

#include "ulk/archi/types.h"
#include "ulk/mem/SharedPtr.h"
#include "ulk/sacc/SplFileFmtInterface.h"

namespace ulk::sys {
class File;
}

namespace ulk::sacc {

// Recognises a file format and makes its objects. No locks.
class SplFileFmtFactoryInterface {
public:
    virtual ~SplFileFmtFactoryInterface() = default;

    // header: the first 512 bytes of the file, with zeros behind its end. fmt becomes the number of
    // the format, or -1 when the file is of another. Returns 0 in both cases, or an error.
    int detect_format(sys::File& file, int& fmt, archi::UByte const* header) {
        fmt = -1;
        return do_detect_format(file, fmt, header);
    }

    int create_format(mem::SharedPtr<SplFileFmtInterface>& fmt_ptr) {
        return do_create_format(fmt_ptr);
    }

protected:
    // Sets fmt if the header is of this format, and leaves it otherwise.
    virtual int do_detect_format(sys::File& file, int& fmt, archi::UByte const* header) = 0;
    virtual int do_create_format(mem::SharedPtr<SplFileFmtInterface>& fmt_ptr) = 0;
};

} // namespace ulk::sacc
